#include "engineering/frmI2C.h"

#include "engineering/ViewParts.h"
#include "engineering/ViewState.h"
#include "engineering/frmConfirm.h"
#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"
#include "platform/WholeFile.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QGroupBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QShortcut>
#include <QSpinBox>
#include <QSplitter>
#include <QTabWidget>
#include <QTableWidget>

#include <utility>

namespace {

constexpr int kRows = 14; // 0x10 to 0xE0
constexpr int kColumns = 8;
const QString kBinFilter = QStringLiteral("Binary files (*.bin *.eep);;All files (*)");

QPushButton* Button(QWidget* parent, const char* name, const char* icon, const QString& text)
{
    return Named(new QPushButton(ThemeIcon(QLatin1String(icon)), text, parent), name);
}

} // namespace

frmI2C::frmI2C(GaugeContext& context)
    : m_context(context), cmdScan(Button(this, "cmdScan", "scan", tr("Scan"))),
      cmdCancelI2C(Button(this, "cmdCancelI2C", "stop", tr("Cancel"))),
      chkRisky(Named(new QCheckBox(tr("&Include addresses at risk"), this), "chkRisky")),
      grdScan(Named(new QTableWidget(kRows, kColumns, this), "grdScan")),
      grdFound(Named(new QTableWidget(0, 3, this), "grdFound")),
      txtI2CAddress(Named(new QLineEdit(QStringLiteral("A0"), this), "txtI2CAddress")),
      txtRegister(Named(new QLineEdit(QStringLiteral("00"), this), "txtRegister")),
      spnLength(Named(new QSpinBox(this), "spnLength")), txtBytes(Named(new QLineEdit(this), "txtBytes")),
      cmdReadI2C(Button(this, "cmdReadI2C", "read", tr("Read"))),
      cmdWriteI2C(Button(this, "cmdWriteI2C", "write", tr("Write"))),
      txtEepromAddress(Named(new QLineEdit(QStringLiteral("A0"), this), "txtEepromAddress")),
      cboSize(Named(new QComboBox(this), "cboSize")), cboPage(Named(new QComboBox(this), "cboPage")),
      spnWriteMs(Named(new QSpinBox(this), "spnWriteMs")),
      cmdDump(Button(this, "cmdDump", "export", tr("Dump to file..."))),
      cmdLoad(Button(this, "cmdLoad", "import", tr("Load from file..."))),
      cmdVerify(Button(this, "cmdVerify", "verify", tr("Verify with file..."))),
      pbI2C(Named(new QProgressBar(this), "pbI2C")), lblI2CState(Named(new QLabel(this), "lblI2CState")),
      lblDump(Named(new QLabel(this), "lblDump")), txtDump(Named(new QPlainTextEdit(this), "txtDump")),
      m_across(Named(new QSplitter(Qt::Horizontal, this), "splitterI2C")),
      m_tabs(Named(new QTabWidget(this), "tabsI2C"))
{
    setObjectName(QStringLiteral("frmI2C"));
    LayOut();
    connect(cmdScan, &QPushButton::clicked, this, &frmI2C::AskScan);
    connect(cmdCancelI2C, &QPushButton::clicked, this, &frmI2C::Abandon);
    for (const auto chosen : {&QTableWidget::cellClicked, &QTableWidget::cellActivated}) // Enter, too
        connect(grdScan, chosen, this, [this](int row, int column) {
            UseAddress(static_cast<std::int16_t>(BusScan::kFirst + 0x10 * row + 2 * column));
        });
    connect(grdFound, &QTableWidget::currentCellChanged, this, [this](int row) {
        if (const QTableWidgetItem* item = grdFound->item(row, 0))
            UseAddress(static_cast<std::int16_t>(item->data(Qt::UserRole).toInt()));
    });
    const auto read = [this] { Transfer(TransactionKind::I2CRead); };
    const auto write = [this] { Transfer(TransactionKind::I2CWrite); };
    connect(cmdReadI2C, &QPushButton::clicked, this, read);
    connect(cmdWriteI2C, &QPushButton::clicked, this, write);
    connect(txtI2CAddress, &QLineEdit::returnPressed, this, read);
    connect(txtRegister, &QLineEdit::returnPressed, this, read);
    connect(txtBytes, &QLineEdit::returnPressed, this, write);
    for (QLineEdit* field : {txtI2CAddress, txtRegister, txtBytes, txtEepromAddress})
        connect(field, &QLineEdit::textEdited, this, [field] {
            field->setProperty("refused", false);
            field->update();
        });
    connect(cmdDump, &QPushButton::clicked, this,
            [this] { AskFile(tr("Dump EEPROM"), true, &frmI2C::DumpTo); });
    connect(cmdLoad, &QPushButton::clicked, this,
            [this] { AskFile(tr("Load EEPROM"), false, &frmI2C::LoadFrom); });
    connect(cmdVerify, &QPushButton::clicked, this,
            [this] { AskFile(tr("Verify EEPROM"), false, &frmI2C::VerifyWith); });
    auto* leave
        = new QShortcut(QKeySequence(Qt::Key_Escape), this, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
    connect(leave, &QShortcut::activated, this, &frmI2C::Abandon);
    auto* scan
        = new QShortcut(QKeySequence(Qt::Key_F5), this, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
    connect(scan, &QShortcut::activated, this, &frmI2C::AskScan);
    setFocusProxy(cmdScan);

    const ViewState state(m_context.profiles, m_context.state.ProgramSettingsFile, QStringLiteral("I2CTool"));
    txtI2CAddress->setText(state.Text(u"Address", QStringLiteral("A0")));
    txtRegister->setText(state.Text(u"Register", QStringLiteral("00")));
    spnLength->setValue(state.Number(u"Length", 16, 1, 255));
    txtBytes->setText(state.Text(u"Bytes"));
    txtEepromAddress->setText(state.Text(u"EepromAddress", QStringLiteral("A0")));
    cboSize->setCurrentIndex(state.Number(u"EepromSize", 1, 0, cboSize->count() - 1));
    cboPage->setCurrentIndex(state.Number(u"EepromPage", 1, 0, cboPage->count() - 1));
    spnWriteMs->setValue(state.Number(u"EepromWriteMs", 5, 0, 100));
    m_across->restoreState(QByteArray::fromBase64(state.Text(u"Splitter").toLatin1()));
    SetRunning(false);
    Applyskin();
}

frmI2C::~frmI2C() = default;

void frmI2C::WhenFree(std::function<void()> act)
{
    WhenBusFree(
        this,
        [this, act = std::move(act)] {
            if (!m_running)
                act();
        },
        [this](const QString& why) { ShowState(why, true); });
}

// ---- scan ----

void frmI2C::AskScan()
{
    if (m_running)
        return;
    const bool risky = chkRisky->isChecked();
    WhenFree([this, risky] {
        if (!risky)
            return Scan(false);
        frmConfirm::Ask(
            this, Danger::Scan,
            tr("A read alone may do harm at these addresses: it can protect a memory module for good or lock "
               "up a clock generator until power is cut. Leave them out unless you know what hangs there."),
            {tr("0x60 to 0x6E   protection commands of memory modules"),
             tr("0xD0 to 0xDE   clock generators")},
            tr("Scan all addresses"), [this] { WhenFree([this] { Scan(true); }); });
    });
}

void frmI2C::Scan(bool risky)
{
    SetRunning(true);
    for (int address = BusScan::kFirst; address <= BusScan::kLast; address += 2)
        ShowScanned({static_cast<std::int16_t>(address)});
    grdFound->setRowCount(0);
    int answered = 0;
    int failed = 0;
    BusScan scan(m_context.usb, m_context.access, m_context.state.TargetAddress);
    const BusScan::Result result
        = scan.Run(risky, objectName(), [&](const ScannedAddress& scanned, int done, int of) {
              ShowScanned(scanned);
              if (scanned.Found == ScannedAddress::State::Failed)
                  ++failed;
              if (scanned.Found == ScannedAddress::State::Present) {
                  ++answered;
                  const int row = grdFound->rowCount();
                  grdFound->insertRow(row);
                  const QString texts[]{HexNumber(scanned.Address), HexNumber(scanned.Address / 2),
                                        UsualPart(scanned.Address)};
                  for (int column = 0; column < 3; ++column) {
                      auto* item = new QTableWidgetItem(texts[column]);
                      item->setData(Qt::UserRole, scanned.Address);
                      if (column < 2)
                          item->setFont(Theme::Current().Font(Type::Mono));
                      grdFound->setItem(row, column, item);
                  }
              }
              return ShowProgress(done, of, tr("Scan"));
          });
    SetRunning(false);
    QString text = Counted(answered, tr("1 address answered"), tr("%1 addresses answered"));
    if (failed > 0)
        text += tr(", %1 could not be asked (marked !): scan again").arg(failed);
    if (!risky)
        text += tr("; the addresses at risk were left out");
    if (result.Cancelled)
        text = tr("Cancelled. ") + text;
    ShowState(result.Problem.isEmpty() ? text + QLatin1Char('.') : result.Problem,
              !result.Problem.isEmpty() || failed > 0);
}

void frmI2C::ShowScanned(const ScannedAddress& scanned)
{
    const int place = (scanned.Address - BusScan::kFirst) / 2;
    const int row = place / kColumns;
    const int column = place % kColumns;
    QTableWidgetItem* item = grdScan->item(row, column);
    if (!item) {
        item = new QTableWidgetItem;
        item->setTextAlignment(Qt::AlignCenter);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
        grdScan->setItem(row, column, item);
    }
    const SkinColours& colours = Theme::Current().Colours();
    QString text;
    QString tip = HexNumber(scanned.Address) + QStringLiteral(", 7-bit ") + HexNumber(scanned.Address / 2);
    QFont font = Theme::Current().Font(Type::Mono);
    QColor ink = ToColour(colours.TextSecondary);
    QBrush fill = Qt::NoBrush;
    switch (scanned.Found) {
    case ScannedAddress::State::Unknown:
        break;
    case ScannedAddress::State::LeftOut:
        text = QStringLiteral("-");
        tip += tr("\nleft out: a read alone may do harm here");
        break;
    case ScannedAddress::State::Silent:
        text = QStringLiteral("\u00b7");
        tip += tr("\nnobody acknowledges");
        break;
    case ScannedAddress::State::Present:
        text = QString::number(scanned.Address, 16).toUpper();
        tip += tr("\nanswers")
            + (UsualPart(scanned.Address).isEmpty() ? QString()
                                                    : tr("; usually ") + UsualPart(scanned.Address));
        font.setBold(true);
        ink = ToColour(colours.BitLowText);
        fill = ToColour(colours.BitLow);
        break;
    case ScannedAddress::State::Failed:
        text = QStringLiteral("!");
        tip += QLatin1Char('\n') + ErrorCodeToText(scanned.Code);
        ink = ToColour(colours.Failed);
        break;
    }
    item->setData(Qt::UserRole, static_cast<int>(scanned.Found));
    item->setText(text);
    item->setToolTip(tip);
    item->setFont(font);
    item->setForeground(ink);
    item->setBackground(fill);
}

void frmI2C::UseAddress(std::int16_t address)
{
    const QString text = QString::number(address, 16).toUpper();
    txtI2CAddress->setText(text);
    if (address >= 0xA0 && address <= 0xAE)
        txtEepromAddress->setText(text);
}

// ---- single transfers ----

void frmI2C::Transfer(TransactionKind kind)
{
    if (m_running)
        return;
    TransactionFields fields;
    fields.Kind = kind;
    fields.Address = txtI2CAddress->text();
    fields.Place = txtRegister->text();
    fields.Data = kind == TransactionKind::I2CRead ? QString::number(spnLength->value()) : txtBytes->text();
    const EnteredTransaction entered = Enter(fields);
    if (!entered.Sent) {
        Refuse(entered.Wrong == TransactionField::Address     ? txtI2CAddress
                   : entered.Wrong == TransactionField::Place ? txtRegister
                                                              : txtBytes,
               entered.Problem);
        return;
    }
    WhenFree([this, kind, sent = *entered.Sent] {
        if (kind == TransactionKind::I2CRead)
            return SendTransfer(sent);
        frmConfirm::Ask(this, Danger::Write,
                        tr("This writes %1 to the part at address %2, from %3 on.")
                            .arg(Counted(sent.Data.size(), tr("1 byte"), tr("%1 bytes")))
                            .arg(HexNumber(*sent.Address), HexNumber(sent.Place)),
                        {TransactionText(sent)}, tr("Write"),
                        [this, sent] { WhenFree([this, sent] { SendTransfer(sent); }); });
    });
}

void frmI2C::SendTransfer(const Transaction& transaction)
{
    const Transaction sent = transaction; // what asked for it may go away meanwhile
    SetRunning(true);
    TransactionSender sender(m_context.usb, m_context.time, m_context.state.TargetAddress, {});
    TransactionResult result;
    result.Code = ErrorCode::BusBusy;
    {
        const ExclusiveAccess access(m_context.access, objectName());
        if (access)
            result = sender.Send(sent);
    }
    SetRunning(false);
    const QString explained = sender.Explain(sent, result.Code);
    const QString what = TransactionText(sent).left(60);
    if (Failed(result.Code)) {
        ShowState(what + QStringLiteral(": ")
                      + (explained.isEmpty() ? ErrorCodeToText(result.Code) : explained),
                  true);
        return;
    }
    if (sent.Kind == TransactionKind::I2CRead)
        ShowBytes(result.Data, tr("%1, from %2 on").arg(HexNumber(*sent.Address), HexNumber(sent.Place)),
                  static_cast<std::size_t>(sent.Place));
    ShowState(sent.Kind == TransactionKind::I2CRead
                  ? tr("%1 read in %2 ms.")
                        .arg(Counted(result.Data.size(), tr("1 byte"), tr("%1 bytes")))
                        .arg(result.TookMs)
                  : tr("%1 acknowledged in %2 ms. Read back to be sure.")
                        .arg(Counted(sent.Data.size(), tr("1 byte"), tr("%1 bytes")))
                        .arg(result.TookMs),
              false);
}

// ---- EEPROM ----

void frmI2C::AskFile(const QString& title, bool save, void (frmI2C::*act)(const QString&))
{
    EepromPart part;
    if (m_running || !Part(part))
        return;
    AskForFile(this, title, m_context.state.ProgramFolder, kBinFilter,
               save ? QStringLiteral("bin") : QString(),
               [this, act](const QString& path) { (this->*act)(path); });
}

bool frmI2C::Part(EepromPart& part)
{
    QString problem;
    const auto address
        = ParseWhole(txtEepromAddress->text(), tr("The address"), 0x10, 0xEE, problem, /*hexadecimal=*/true);
    part.Size = cboSize->currentData().toInt();
    part.Page = cboPage->currentData().toInt();
    part.WriteMs = spnWriteMs->value();
    if (address && *address % 2 != 0)
        problem = tr("Addresses are in 8-bit form and even, twice the 7-bit address.");
    else if (address && *address + 2 * ((part.Size - 1) / 256) > 0xEE)
        problem = tr("A part of %1 bytes does not fit above this address.").arg(part.Size);
    if (!problem.isEmpty()) {
        Refuse(txtEepromAddress, problem);
        return false;
    }
    part.Address = static_cast<std::int16_t>(*address);
    return true;
}

bool frmI2C::ReadFile(const QString& path, Bytes& bytes)
{
    EepromPart part;
    if (!Part(part))
        return false;
    const FileBytes file = ReadWhole(path);
    const QString name = QFileInfo(path).fileName();
    QString problem = file.error;
    if (problem.isEmpty() && file.bytes.isEmpty())
        problem = tr("%1 is empty. Nothing was sent.").arg(name);
    else if (problem.isEmpty() && file.bytes.size() > part.Size)
        problem = tr("%1 has %2 bytes, the part only %3. Nothing was sent.")
                      .arg(name)
                      .arg(file.bytes.size())
                      .arg(part.Size);
    if (!problem.isEmpty()) {
        ShowState(problem, true);
        return false;
    }
    bytes.assign(file.bytes.begin(), file.bytes.end());
    return true;
}

void frmI2C::RunEeprom(
    const std::function<EepromResult(EepromTransfer&, const EepromTransfer::Progress&)>& work,
    const std::function<void(const EepromResult&)>& done)
{
    SetRunning(true);
    EepromTransfer transfer(m_context.usb, m_context.access, m_context.time);
    const EepromResult result
        = work(transfer, [this](int now, int of) { return ShowProgress(now, of, tr("EEPROM")); });
    SetRunning(false);
    ShowState(result.Text, Failed(result.Code));
    done(result);
}

void frmI2C::DumpTo(const QString& path)
{
    EepromPart part;
    if (!Part(part))
        return;
    WhenFree([this, part, path] {
        RunEeprom([&](EepromTransfer& transfer,
                      const auto& progress) { return transfer.Read(part, objectName(), progress); },
                  [&](const EepromResult& result) {
                      if (!result.Data.empty())
                          ShowBytes(result.Data, tr("EEPROM at %1").arg(HexNumber(part.Address)));
                      if (Failed(result.Code)) {
                          ShowState(result.Text + tr(" No file was written."), true);
                          return;
                      }
                      const QByteArray bytes(reinterpret_cast<const char*>(result.Data.data()),
                                             static_cast<qsizetype>(result.Data.size()));
                      const QString problem = SaveWhole(path, bytes);
                      ShowState(problem.isEmpty() ? tr("%1 bytes read and saved in %2.")
                                                        .arg(bytes.size())
                                                        .arg(QFileInfo(path).fileName())
                                                  : problem,
                                !problem.isEmpty());
                  });
    });
}

void frmI2C::LoadFrom(const QString& path)
{
    EepromPart part;
    Bytes bytes;
    if (!ReadFile(path, bytes) || !Part(part))
        return;
    const auto load = [this, part, bytes] {
        WhenFree([this, part, bytes] {
            RunEeprom(
                [&](EepromTransfer& transfer, const auto& progress) {
                    return transfer.Load(part, bytes, objectName(), progress);
                },
                [&](const EepromResult& result) {
                    if (!result.Data.empty())
                        ShowBytes(result.Data, tr("read back from %1").arg(HexNumber(part.Address)));
                });
        });
    };
    WhenFree([this, part, bytes, path, load] {
        frmConfirm::Ask(
            this, Danger::Load,
            tr("This overwrites the first %1 bytes of the part at address %2 with %3, in writes of %4 bytes. "
               "What stands there is lost; dump it first to keep it.")
                .arg(bytes.size())
                .arg(HexNumber(part.Address), QFileInfo(path).fileName())
                .arg(part.Page),
            HexDump(bytes).split(QLatin1Char('\n'), Qt::SkipEmptyParts),
            tr("Write %1 bytes").arg(bytes.size()), load);
    });
}

void frmI2C::VerifyWith(const QString& path)
{
    EepromPart part;
    Bytes bytes;
    if (!ReadFile(path, bytes) || !Part(part))
        return;
    WhenFree([this, part, bytes] {
        RunEeprom([&](EepromTransfer& transfer,
                      const auto& progress) { return transfer.Verify(part, bytes, objectName(), progress); },
                  [&](const EepromResult& result) {
                      if (!result.Data.empty())
                          ShowBytes(result.Data, tr("EEPROM at %1").arg(HexNumber(part.Address)));
                  });
    });
}

// ---- what is shown ----

void frmI2C::SetRunning(bool running)
{
    m_running = running;
    if (running)
        m_cancelled = false;
    for (QPushButton* button : {cmdScan, cmdReadI2C, cmdWriteI2C, cmdDump, cmdLoad, cmdVerify})
        button->setEnabled(!running);
    cmdCancelI2C->setVisible(running);
    pbI2C->setVisible(running);
    pbI2C->setValue(0);
    emit ProgressChanged(0, 0, objectName());
}

bool frmI2C::ShowProgress(int done, int of, const QString& what)
{
    pbI2C->setMaximum(of);
    pbI2C->setValue(done);
    emit ProgressChanged(std::min(done, of - 1), of, what);
    return !m_cancelled;
}

void frmI2C::ShowState(const QString& text, bool failed) { ShowNote(lblI2CState, text, failed); }

void frmI2C::ShowBytes(const Bytes& bytes, const QString& from, std::size_t first)
{
    lblDump->setText(tr("%1 bytes, %2, at %3")
                         .arg(bytes.size())
                         .arg(from, m_context.time.Now().toString(QStringLiteral("hh:mm:ss"))));
    txtDump->setPlainText(HexDump(bytes, first));
}

void frmI2C::Refuse(QLineEdit* field, const QString& problem)
{
    field->setProperty("refused", true);
    field->update();
    field->setFocus();
    field->selectAll();
    ShowState(problem, true);
}

bool frmI2C::Leave()
{
    ViewState state(m_context.profiles, m_context.state.ProgramSettingsFile, QStringLiteral("I2CTool"));
    state.Keep(u"Address", txtI2CAddress->text());
    state.Keep(u"Register", txtRegister->text());
    state.Keep(u"Length", spnLength->value());
    state.Keep(u"Bytes", txtBytes->text().left(400));
    state.Keep(u"EepromAddress", txtEepromAddress->text());
    state.Keep(u"EepromSize", cboSize->currentIndex());
    state.Keep(u"EepromPage", cboPage->currentIndex());
    state.Keep(u"EepromWriteMs", spnWriteMs->value());
    if (!m_narrow)
        state.Keep(u"Splitter", QString::fromLatin1(m_across->saveState().toBase64()));
    if (const QString problem = state.Save(); !problem.isEmpty())
        m_context.messages.Show(problem);
    return true;
}

void frmI2C::Applyskin()
{
    txtDump->setFont(Theme::Current().Font(Type::Mono));
    for (int address = BusScan::kFirst; address <= BusScan::kLast; address += 2) {
        const int place = (address - BusScan::kFirst) / 2;
        if (const QTableWidgetItem* item = grdScan->item(place / kColumns, place % kColumns))
            ShowScanned({static_cast<std::int16_t>(address),
                         static_cast<ScannedAddress::State>(item->data(Qt::UserRole).toInt()),
                         ErrorCode::Unknown});
    }
}
