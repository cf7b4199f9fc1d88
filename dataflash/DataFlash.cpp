#include "dataflash/DataFlash.h"

#include "comm/BusSequence.h"
#include "dataflash/ValueEncoding.h"
#include "dataflash/bCfgReader.h"

#include <algorithm>
#include <utility>

namespace {

constexpr auto kSection = u"DataFlash";
constexpr std::int32_t kDefaultRowDelay = 50;

/// Keeps what is said while the bus is held.
class KeptMessages final : public UserMessages {
public:
    void Show(const QString& text) override { texts << text; }
    Answer Ask(const QString& text, Answers /*offered*/) override
    {
        Show(text);
        return Answer::No;
    }
    QStringList texts;
};

} // namespace

const QString DataFlash::kOwner = QStringLiteral("DF");
const QString DataFlash::kBusy = QStringLiteral("The USB connection is busy! Failed communication!");

DataFlash::Operation::Operation(DataFlash& flash, bool shows)
    : m_flash(flash), m_first(!flash.m_running), m_shows(shows)
{
    if (!m_first)
        return;
    flash.m_running = true;
    flash.m_cancel = false;
}

DataFlash::Operation::~Operation()
{
    if (!m_first)
        return;
    m_flash.m_running = false;
    m_flash.m_journal.Release();
    if (m_shows)
        m_flash.ShowMessages();
}

DataFlash::DataFlash(const Links& links)
    : m_links(links),
      m_ownJournals(links.journals ? nullptr
                                   : std::make_unique<JournalFolder>(JournalPath(links.state.ProgramFolder))),
      m_journal(links.journals ? *links.journals : *m_ownJournals)
{
}

DataFlash::~DataFlash() = default;

// ---- what is loaded ----

bool DataFlash::Load()
{
    if (const QString path = DataFlashConfigPath(m_links.profiles, m_links.state); !path.isEmpty())
        return LoadFile(path);
    const QString& target = m_links.state.TargetConfigPath;
    m_links.messages.Show(
        target.isEmpty()
            ? QStringLiteral("No target is chosen, so there is no data-flash configuration. Choose a target.")
            : QStringLiteral(
                  "%1 names no data-flash configuration: key ConfigFile of section [DataFlash] is missing.")
                  .arg(target));
    return false;
}

bool DataFlash::LoadFile(const QString& path)
{
    const Operation operation(*this);
    if (!operation)
        return false;
    bCfgReader reader;
    DataFlashTree tree;
    if (!InitStructFromCfgFile(reader, path, m_links.messages, tree))
        return false;
    QString problem;
    m_style = ParseLegacyString(tree.LegacyString, problem);
    if (!problem.isEmpty())
        Say(QStringLiteral("%1: %2").arg(path, problem));
    m_tree = std::move(tree);
    m_known.clear();
    m_lastReadAllOK = false;
    return true;
}

QString DataFlash::DeviceName() const
{
    const QString unknown = QStringLiteral("Unknown");
    return m_links.state.TargetConfigPath.isEmpty()
        ? unknown
        : m_links.profiles.String(m_links.state.TargetConfigPath, u"Device", u"Name", unknown);
}

SubClass& DataFlash::At(SubClassPlace place)
{
    return m_tree.Classes[static_cast<std::size_t>(place.Class)]
        .SubClasses[static_cast<std::size_t>(place.SubClass)];
}

const SubClass& DataFlash::At(SubClassPlace place) const
{
    return m_tree.Classes[static_cast<std::size_t>(place.Class)]
        .SubClasses[static_cast<std::size_t>(place.SubClass)];
}

QString DataFlash::NameOf(SubClassPlace place) const
{
    return QStringLiteral("%1 (%2)").arg(At(place).Name,
                                         m_tree.Classes[static_cast<std::size_t>(place.Class)].Name);
}

bool DataFlash::Has(SubClassPlace place) const
{
    return place.Class >= 0 && place.Class < static_cast<int>(m_tree.Classes.size()) && place.SubClass >= 0
        && place.SubClass
        < static_cast<int>(m_tree.Classes[static_cast<std::size_t>(place.Class)].SubClasses.size());
}

std::vector<SubClassPlace> DataFlash::AllPlaces() const
{
    std::vector<SubClassPlace> places;
    for (int c = 0; c < static_cast<int>(m_tree.Classes.size()); ++c)
        for (int s = 0; Has({c, s}); ++s)
            places.push_back({c, s});
    return places;
}

std::vector<SubClassPlace> DataFlash::ChangedPlaces() const
{
    std::vector<SubClassPlace> places = AllPlaces();
    std::erase_if(places, [this](SubClassPlace place) {
        return std::ranges::none_of(At(place).Items, &DataItem::Edited);
    });
    return places;
}

SubClassTransfer::Setup DataFlash::SetupOf(const AccessStyle& style) const
{
    const std::int32_t delay
        = m_links.profiles.Integer(m_links.state.TargetConfigPath, kSection, u"RowDelay", kDefaultRowDelay);
    return {style, m_links.state.TargetAddress, std::max(delay, 0)};
}

SubClassTransfer DataFlash::MakeTransfer(const AccessStyle& style)
{
    return {m_links.usb, SetupOf(style), [this] { return m_cancel; }};
}

// ---- messages and progress ----

QString DataFlash::CodeText(std::int32_t code)
{
    switch (code) {
    case DataFlashResult::kNotRead:
        return QStringLiteral("not read before");
    case DataFlashResult::kNoValue:
        return QStringLiteral("an item has no value that can be written");
    case DataFlashResult::kNoJournal:
        return QStringLiteral("the journal could not be saved");
    case Number(ErrorCode::Timeout):
        return QStringLiteral("the adapter or the gauge did not answer in time");
    default:
        return ErrorCodeToText(static_cast<ErrorCode>(static_cast<std::int16_t>(code)));
    }
}

TransferReport DataFlash::AlreadyRunning()
{
    TransferReport report;
    report.Result = Number(ErrorCode::UserCancelled);
    report.Cancelled = true;
    report.Text = QStringLiteral("Another data-flash operation is under way.");
    return report;
}

void DataFlash::ShowMessages()
{
    for (const Message& message : std::exchange(m_said, {})) {
        if (message.Fault)
            m_links.messages.Report(message.Text);
        else
            m_links.messages.Show(message.Text);
    }
}

QStringList DataFlash::TakeMessages()
{
    QStringList texts;
    for (const Message& message : std::exchange(m_said, {}))
        texts << message.Text;
    return texts;
}

void DataFlash::SayFaults(SubClassTransfer& transfer)
{
    for (const QString& error : transfer.TakeErrors())
        Say(error, true);
}

TransferReport DataFlash::Busy(TransferReport report)
{
    // in the list of faults when whoever holds the bus is further down the stack and still holds it
    Say(kBusy, ExclusiveAccess::HeldBelow());
    report.Result = Number(ErrorCode::BusBusy);
    report.Text = kBusy;
    return report;
}

void DataFlash::Progress(SubClassPlace place, const QString& verb)
{
    if (OnProgress)
        OnProgress(place.Class, static_cast<int>(m_tree.Classes.size()),
                   QStringLiteral("%1 %2").arg(verb, NameOf(place)));
}

void DataFlash::ProgressEnds()
{
    if (OnProgress)
        OnProgress(100, 100, {});
}

// ---- steps with the bus held ----

/// Into whole, without a change to the tree. What the read leaves out is as it was known before.
std::int32_t DataFlash::Fetch(SubClassTransfer& transfer, SubClassPlace place, Bytes& whole)
{
    const SubClass& subClass = At(place);
    whole = WithTail(transfer, place, subClass.Buffer);
    return transfer.ReadSubClass_Style(subClass.Id, subClass.Length(), whole);
}

Bytes DataFlash::WithTail(const SubClassTransfer& transfer, SubClassPlace place, const Bytes& image) const
{
    Bytes whole = image;
    if (const auto known = m_known.find(place); known != m_known.end())
        whole.insert(whole.end(), known->second.Tail.begin(), known->second.Tail.end());
    whole.resize(static_cast<std::size_t>(transfer.Padded(static_cast<int>(image.size()))), 0xFF);
    return whole;
}

QStringList DataFlash::Decoded(SubClassPlace place, const Bytes& image)
{
    KeptMessages kept;
    QStringList texts;
    for (const DataItem& item : At(place).Items)
        texts << ByteToDataType(image, item.Offset, item.DataType, kept);
    for (const QString& text : kept.texts)
        Say(text, true);
    return texts;
}

/// The subclass is now known to be this.
void DataFlash::Take(SubClassPlace place, const Bytes& whole)
{
    SubClass& subClass = At(place);
    const auto end = whole.begin() + subClass.Length();
    subClass.Buffer.assign(whole.begin(), end);
    m_known[place] = {true, Bytes(end, whole.end())};
    const QStringList texts = Decoded(place, subClass.Buffer);
    for (std::size_t i = 0; i < subClass.Items.size(); ++i) {
        DataItem& item = subClass.Items[i];
        const QString& text = texts[static_cast<qsizetype>(i)];
        if (!item.Value.isEmpty()) // a first read marks nothing
            item.ChangedFlag = item.Value.compare(text, Qt::CaseInsensitive) != 0;
        item.Value = item.ReadValue = text;
    }
}

std::int32_t DataFlash::ReadOne(SubClassTransfer& transfer, SubClassPlace place)
{
    Bytes whole;
    const std::int32_t code = Fetch(transfer, place, whole);
    if (code == DataFlashResult::kOk) {
        Take(place, whole);
        return code;
    }
    SayFaults(transfer);
    m_lastReadAllOK = false;
    m_known[place].Read = false;
    At(place).Buffer.assign(whole.begin(), whole.begin() + At(place).Length()); // the texts stay
    return code;
}

// ---- one subclass for others ----

std::int32_t DataFlash::ReadDFSubClass(int classIndex, int subClassIndex)
{
    const Operation operation(*this, false);
    if (!operation)
        return Number(ErrorCode::UserCancelled);
    const SubClassPlace place{classIndex, subClassIndex};
    if (!Has(place))
        return Number(ErrorCode::IncorrectParam);
    SubClassTransfer transfer = MakeTransfer(m_style);
    return ReadOne(transfer, place);
}

// ---- read ----

TransferReport DataFlash::ReadAllDF()
{
    const Operation operation(*this);
    return operation ? Read(AllPlaces(), true) : AlreadyRunning();
}

TransferReport DataFlash::ReadSome(const std::vector<SubClassPlace>& places)
{
    const Operation operation(*this);
    return operation ? Read(places, false) : AlreadyRunning();
}

TransferReport DataFlash::Read(const std::vector<SubClassPlace>& places, bool all)
{
    TransferReport report = ReportOf(places);
    m_lastReadAllOK = all ? Loaded() : m_lastReadAllOK;
    {
        const BusSequence bus(m_links.access, kOwner);
        if (!bus) {
            m_lastReadAllOK = m_lastReadAllOK && !all;
            return Busy(std::move(report));
        }
        SubClassTransfer transfer = MakeTransfer(m_style);
        for (TransferReport::Entry& entry : report.Entries) {
            const SubClassPlace place{entry.Class, entry.SubClass};
            Progress(place, QStringLiteral("Reading"));
            if (m_cancel)
                break;
            entry.Code = ReadOne(transfer, place);
            if (entry.Code == Number(ErrorCode::UserCancelled))
                break;
            entry.What = entry.Code == DataFlashResult::kOk ? TransferReport::Fate::Done
                                                            : TransferReport::Fate::Failed;
            if (entry.What == TransferReport::Fate::Failed) {
                SayReadError(place, entry.Code);
                report.Result = report.Result == 0 ? entry.Code : report.Result;
            }
            if (entry.Code == Number(ErrorCode::NoUsb))
                break; // nobody is there to be asked for the rest
        }
    }
    report.Cancelled = m_cancel;
    if (m_cancel && report.Result == 0)
        report.Result = Number(ErrorCode::UserCancelled);
    if (all && report.Result != 0)
        m_lastReadAllOK = false;
    ProgressEnds();
    report.Text = Summary(report, QStringLiteral("Read"));
    return report;
}

void DataFlash::SayReadError(SubClassPlace place, std::int32_t code)
{
    Say(QStringLiteral("Error reading Data Flash Subclass %1, Code = %2").arg(At(place).Id).arg(code), true);
}

TransferReport DataFlash::ReportOf(const std::vector<SubClassPlace>& places)
{
    TransferReport report;
    for (const SubClassPlace place : places)
        report.Entries.push_back({place.Class, place.SubClass, TransferReport::Fate::NotReached});
    return report;
}

/// What became of it, with the first failure by name.
QString DataFlash::Summary(const TransferReport& report, const QString& verb) const
{
    const auto count = [&](TransferReport::Fate fate) {
        return std::ranges::count(report.Entries, fate, &TransferReport::Entry::What);
    };
    QString text = QStringLiteral("%1 %2 of %3 subclasses.")
                       .arg(verb)
                       .arg(count(TransferReport::Fate::Done) + count(TransferReport::Fate::NotVerified))
                       .arg(report.Entries.size());
    if (report.Cancelled)
        text += QStringLiteral(" Cancelled.");
    for (const TransferReport::Entry& entry : report.Entries) {
        const SubClassPlace place{entry.Class, entry.SubClass};
        if (!Has(place))
            continue;
        const QString name = QStringLiteral(" Subclass %1, %2: ").arg(At(place).Id).arg(NameOf(place));
        if (entry.What == TransferReport::Fate::Failed)
            text += name + CodeText(entry.Code) + u'.';
        else if (entry.What == TransferReport::Fate::NotVerified && !entry.Offsets.empty())
            text += name + QStringLiteral("%1 bytes did not take.").arg(entry.Offsets.size());
        else if (entry.What == TransferReport::Fate::NotVerified)
            text += name + QStringLiteral("not verified, ") + CodeText(entry.Code) + u'.';
        else
            continue;
        if (entry.Code == Number(ErrorCode::NoUsb))
            break;
    }
    return text;
}

void DataFlash::Cancel() { m_cancel = true; }
