#include "dataflash/bCfgReader.h"

#include "dataflash/CfgParser.h"
#include "dataflash/ValueEncoding.h"
#include "platform/WholeFile.h"

namespace {

constexpr std::int32_t kDone = 0;
constexpr std::int32_t kNot = 1;
constexpr qint64 kMostFile = 16LL * 1024 * 1024; ///< a configuration of 65,536 subclasses stays below

template <class T>
const T* At(const std::vector<T>& list, std::int32_t index)
{
    return index >= 0 && static_cast<std::size_t>(index) < list.size()
        ? &list[static_cast<std::size_t>(index)]
        : nullptr;
}

} // namespace

struct bCfgReader::Configuration {
    DataFlashTree Tree;

    [[nodiscard]] const DataClass* Class(Index classIndex) const { return At(Tree.Classes, classIndex); }
    [[nodiscard]] const SubClass* Sub(Index classIndex, Index subClassIndex) const
    {
        const DataClass* one = Class(classIndex);
        return one == nullptr ? nullptr : At(one->SubClasses, subClassIndex);
    }
    [[nodiscard]] const DataItem* Item(Index classIndex, Index subClassIndex, Index item) const
    {
        const SubClass* subClass = Sub(classIndex, subClassIndex);
        return subClass == nullptr ? nullptr : At(subClass->Items, item);
    }
    std::int32_t ItemText(Index classIndex, Index subClassIndex, Index item, QString DataItem::*field,
                          QString& text) const
    {
        const DataItem* found = Item(classIndex, subClassIndex, item);
        text = found == nullptr ? QString() : found->*field;
        return found == nullptr ? kNot : kDone;
    }
};

QString CfgProblem::InWords(const QString& file) const
{
    if (Line == 0)
        return Text; // names the file itself
    return QStringLiteral("%1, line %2, column %3: %4%5")
        .arg(file)
        .arg(Line)
        .arg(Column)
        .arg(Error ? QString() : QStringLiteral("warning: "), Text);
}

bCfgReader::bCfgReader() : m_loaded(std::make_unique<Configuration>()) { }

bCfgReader::~bCfgReader() = default;

std::int32_t bCfgReader::LoadCfgFile(const QString& path)
{
    UnloadCfgFile();
    m_problems.clear();
    const FileBytes file = ReadWhole(path, kMostFile);
    if (!file.error.isEmpty()) {
        m_problems.push_back({0, 0, file.error});
        return 1;
    }
    return ParseDataFlashCfg(file.bytes, m_loaded->Tree, m_problems);
}

std::int32_t bCfgReader::UnloadCfgFile()
{
    const bool loaded = !m_loaded->Tree.Classes.empty();
    m_loaded->Tree = {};
    return loaded ? kDone : kNot;
}

const std::vector<CfgProblem>& bCfgReader::Problems() const { return m_problems; }

std::int32_t bCfgReader::GetNumClasses() const
{
    return static_cast<std::int32_t>(m_loaded->Tree.Classes.size());
}

std::int32_t bCfgReader::GetClass(std::int32_t classIndex, QString& name) const
{
    const DataClass* one = m_loaded->Class(classIndex);
    name = one == nullptr ? QString() : one->Name;
    return one == nullptr ? kNot : kDone;
}

std::int32_t bCfgReader::GetNumSubClasses(std::int32_t classIndex) const
{
    const DataClass* one = m_loaded->Class(classIndex);
    return one == nullptr ? 0 : static_cast<std::int32_t>(one->SubClasses.size());
}

std::int32_t bCfgReader::GetNextSubClass(std::int32_t classIndex, std::int32_t subClassIndex,
                                         std::int32_t& id, QString& name) const
{
    const SubClass* subClass = m_loaded->Sub(classIndex, subClassIndex);
    id = subClass == nullptr ? 0 : subClass->Id;
    name = subClass == nullptr ? QString() : subClass->Name;
    return subClass == nullptr ? kNot : kDone;
}

std::int32_t bCfgReader::GetSubClassLength(std::int32_t classIndex, std::int32_t subClassIndex) const
{
    const SubClass* subClass = m_loaded->Sub(classIndex, subClassIndex);
    return subClass == nullptr ? 0 : subClass->Length();
}

std::int32_t bCfgReader::GetNumData(std::int32_t classIndex, std::int32_t subClassIndex) const
{
    const SubClass* subClass = m_loaded->Sub(classIndex, subClassIndex);
    return subClass == nullptr ? 0 : static_cast<std::int32_t>(subClass->Items.size());
}

std::int32_t bCfgReader::GetName(Index classIndex, Index subClassIndex, Index item, QString& text) const
{
    return m_loaded->ItemText(classIndex, subClassIndex, item, &DataItem::Name, text);
}

std::int32_t bCfgReader::GetFullName(Index classIndex, Index subClassIndex, Index item, QString& text) const
{
    return m_loaded->ItemText(classIndex, subClassIndex, item, &DataItem::FullName, text);
}

std::int32_t bCfgReader::GetDataType(Index classIndex, Index subClassIndex, Index item, QString& text) const
{
    return m_loaded->ItemText(classIndex, subClassIndex, item, &DataItem::DataType, text);
}

std::int32_t bCfgReader::GetValue(Index classIndex, Index subClassIndex, Index item, QString& text) const
{
    return m_loaded->ItemText(classIndex, subClassIndex, item, &DataItem::Value, text);
}

std::int32_t bCfgReader::GetDefValue(Index classIndex, Index subClassIndex, Index item, QString& text) const
{
    return m_loaded->ItemText(classIndex, subClassIndex, item, &DataItem::DefValue, text);
}

std::int32_t bCfgReader::GetReadFormula(Index classIndex, Index subClassIndex, Index item,
                                        QString& text) const
{
    return m_loaded->ItemText(classIndex, subClassIndex, item, &DataItem::ReadFormula, text);
}

std::int32_t bCfgReader::GetWriteFormula(Index classIndex, Index subClassIndex, Index item,
                                         QString& text) const
{
    return m_loaded->ItemText(classIndex, subClassIndex, item, &DataItem::WriteFormula, text);
}

std::int32_t bCfgReader::GetDisplayFmt(Index classIndex, Index subClassIndex, Index item, QString& text) const
{
    return m_loaded->ItemText(classIndex, subClassIndex, item, &DataItem::DisplayFmt, text);
}

std::int32_t bCfgReader::GetUnits(Index classIndex, Index subClassIndex, Index item, QString& text) const
{
    return m_loaded->ItemText(classIndex, subClassIndex, item, &DataItem::Units, text);
}

std::int32_t bCfgReader::GetMinVal(Index classIndex, Index subClassIndex, Index item, QString& text) const
{
    return m_loaded->ItemText(classIndex, subClassIndex, item, &DataItem::MinVal, text);
}

std::int32_t bCfgReader::GetMaxVal(Index classIndex, Index subClassIndex, Index item, QString& text) const
{
    return m_loaded->ItemText(classIndex, subClassIndex, item, &DataItem::MaxVal, text);
}

std::int32_t bCfgReader::GetHelpText(Index classIndex, Index subClassIndex, Index item, QString& text) const
{
    return m_loaded->ItemText(classIndex, subClassIndex, item, &DataItem::HelpText, text);
}

std::int32_t bCfgReader::GetOffset(Index classIndex, Index subClassIndex, Index item) const
{
    const DataItem* found = m_loaded->Item(classIndex, subClassIndex, item);
    return found == nullptr ? 0 : found->Offset;
}

bool bCfgReader::IsPrivate(Index classIndex, Index subClassIndex, Index item) const
{
    const DataItem* found = m_loaded->Item(classIndex, subClassIndex, item);
    return found != nullptr && found->Private;
}

std::int32_t bCfgReader::GetLegacyString(QString& text, std::int32_t most) const
{
    text = m_loaded->Tree.LegacyString.left(most > 0 ? most - 1 : 0);
    return kDone;
}

void bCfgReader::GetTarget(QString& text) const { text = m_loaded->Tree.Target; }

void bCfgReader::ShowErrorMsgs(std::int32_t) { } // it has no window to show them in

std::int32_t bCfgReader::WriteBcfgFile(const QString& path) const
{
    if (m_loaded->Tree.Classes.empty())
        return kNot;
    return SaveWhole(path, DataFlashCfgBytes(m_loaded->Tree)).isEmpty() ? kDone : kNot;
}

std::int32_t bCfgReader::AutoGenerateOffsets()
{
    for (DataClass& one : m_loaded->Tree.Classes)
        for (SubClass& subClass : one.SubClasses) {
            int end = 0;
            for (DataItem& item : subClass.Items) {
                item.Offset = end;
                end += WidthOf(item.DataType).value_or(0);
            }
            subClass.Buffer.resize(static_cast<std::size_t>(end));
        }
    return m_loaded->Tree.Classes.empty() ? kNot : kDone;
}
