#include "engineering/TransactionPane.h"

#include "engineering/ViewParts.h"
#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QApplication>
#include <QBoxLayout>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScrollBar>
#include <QSpinBox>

#include <algorithm>

namespace {

constexpr int kKinds = 7; // those that a gauge answers; parts and lines have views of their own
constexpr int kMostTimes = 1'000'000;
constexpr int kLongestIntervalMs = 3'600'000;

} // namespace

TransactionPane::TransactionPane(TransactionHistory& history, std::int16_t gaugeAddress, QWidget* parent)
    : QWidget(parent), m_history(history), m_model(new HistoryModel(history, this)),
      m_gaugeText(tr("gauge, %1").arg(HexNumber(gaugeAddress))),
      cboKind(Named(new QComboBox(this), "cboKind")), cboBase(Named(new QComboBox(this), "cboBase")),
      lblPlace(new QLabel(this)), lblData(new QLabel(this)), lblExpect(new QLabel(tr("E&xpect"), this)),
      lblMask(new QLabel(tr("&Mask"), this)), txtAddress(Named(new QLineEdit(this), "txtAddress")),
      txtCmd(Named(new QLineEdit(this), "txtCmd")), txtData(Named(new QLineEdit(this), "txtData")),
      txtExpect(Named(new QLineEdit(this), "txtExpect")), txtMask(Named(new QLineEdit(this), "txtMask")),
      spnRepeat(Named(new QSpinBox(this), "spnRepeat")),
      spnInterval(Named(new QSpinBox(this), "spnInterval")),
      chkStopAtFailure(Named(new QCheckBox(tr("Stop at a &failure"), this), "chkStopAtFailure")),
      cmdSend(Named(new QPushButton(ThemeIcon(QStringLiteral("play")), tr("Send"), this), "cmdSend")),
      cmdStop(Named(new QPushButton(ThemeIcon(QStringLiteral("stop")), tr("Stop"), this), "cmdStop")),
      lblSendState(Named(new QLabel(this), "lblSendState")),
      grdHistory(Named(new QTableView(this), "grdHistory")), lblDetail(Named(new QLabel(this), "lblDetail"))
{
    for (int i = 0; i < kKinds; ++i)
        cboKind->addItem(QString::fromLatin1(TransactionForms()[static_cast<std::size_t>(i)].Caption));
    cboBase->addItems({tr("Hexadecimal"), tr("Decimal")});
    LayOut();
    connect(cboKind, &QComboBox::currentIndexChanged, this, &TransactionPane::ShowKind);
    connect(cboBase, &QComboBox::currentIndexChanged, this, &TransactionPane::ChangeBase);
    for (QLineEdit* field : {txtAddress, txtCmd, txtData, txtExpect, txtMask}) {
        connect(field, &QLineEdit::returnPressed, this, &TransactionPane::Send);
        connect(field, &QLineEdit::textEdited, this, [field] {
            field->setProperty("refused", false);
            field->update();
        });
    }
    connect(cmdSend, &QPushButton::clicked, this, &TransactionPane::Send);
    connect(cmdStop, &QPushButton::clicked, this, &TransactionPane::StopRequested);
    connect(grdHistory, &QTableView::doubleClicked, this, &TransactionPane::UseAgain);
    connect(grdHistory->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &TransactionPane::ShowDetail);
    grdHistory->installEventFilter(this);
    setFocusProxy(txtCmd);
    ShowKind();
    SetBusy(false, false);
}

void TransactionPane::LayOut()
{
    auto* down = new QVBoxLayout(this);
    down->setContentsMargins(8, 8, 8, 6);
    down->setSpacing(8);
    down->addWidget(MakeFields());
    down->addWidget(MakeHistory(), 1);
}

QWidget* TransactionPane::MakeFields()
{
    auto* fields = new QWidget(this);
    const auto label = [fields](const QString& text, QWidget* buddy, QLabel* made = nullptr) {
        auto* shown = made ? made : new QLabel(fields);
        if (!text.isEmpty())
            shown->setText(text);
        shown->setBuddy(buddy);
        MakeSecondary(shown);
        return shown;
    };
    txtAddress->setPlaceholderText(m_gaugeText);
    txtAddress->setToolTip(tr("Bus address in 8-bit form, twice the 7-bit address; empty: the gauge's"));
    txtMask->setPlaceholderText(tr("every bit"));
    txtMask->setToolTip(tr("Bits that are 0 here may be anything"));
    txtExpect->setPlaceholderText(tr("anything"));
    txtExpect->setToolTip(tr("The answer must be this, or the row is marked \"differs\" (code 11)"));
    cboBase->setToolTip(tr("How plain digits are read; 0x in front is always hexadecimal"));
    cboBase->setAccessibleName(tr("Base of numbers"));
    cboKind->setAccessibleName(tr("Kind of transaction"));
    spnRepeat->setRange(1, kMostTimes);
    spnRepeat->setSuffix(tr(" times"));
    spnRepeat->setSpecialValueText(tr("once"));
    spnRepeat->setToolTip(tr("How often it is sent"));
    spnInterval->setRange(0, kLongestIntervalMs);
    spnInterval->setValue(1000);
    spnInterval->setSuffix(tr(" ms"));
    spnInterval->setToolTip(tr("From the end of one to the begin of the next; the bus is free meanwhile"));
    chkStopAtFailure->setChecked(true);
    chkStopAtFailure->setToolTip(tr("An answer that was not the expected one is a failure, too"));
    cmdSend->setToolTip(tr("Send (Enter in a field)"));
    cmdSend->setAutoDefault(false);
    cmdStop->setToolTip(tr("Stop repeating after the present turn (Esc)"));
    cmdStop->setAutoDefault(false);

    auto* grid = new QGridLayout(fields);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(4);
    grid->addWidget(label(tr("&Transaction"), cboKind), 0, 0);
    grid->addWidget(label(tr("&Address"), txtAddress), 0, 1);
    grid->addWidget(label({}, txtCmd, lblPlace), 0, 2);
    grid->addWidget(label({}, txtData, lblData), 0, 3);
    grid->addWidget(cboKind, 1, 0);
    grid->addWidget(txtAddress, 1, 1);
    grid->addWidget(txtCmd, 1, 2);
    grid->addWidget(txtData, 1, 3);
    grid->addWidget(label(tr("&Numbers"), cboBase), 2, 0);
    grid->addWidget(label({}, txtExpect, lblExpect), 2, 1, 1, 2);
    grid->addWidget(label({}, txtMask, lblMask), 2, 3);
    grid->addWidget(cboBase, 3, 0);
    grid->addWidget(txtExpect, 3, 1, 1, 2);
    grid->addWidget(txtMask, 3, 3);
    grid->setColumnStretch(0, 2);
    grid->setColumnStretch(1, 2);
    grid->setColumnStretch(2, 2);
    grid->setColumnStretch(3, 4);

    auto* send = new QHBoxLayout;
    send->setSpacing(8);
    auto* repeat = label(tr("&Repeat"), spnRepeat);
    auto* every = label(tr("every"), spnInterval);
    send->addWidget(cmdSend);
    send->addWidget(cmdStop);
    send->addSpacing(8);
    send->addWidget(repeat);
    send->addWidget(spnRepeat);
    send->addWidget(every);
    send->addWidget(spnInterval);
    send->addWidget(chkStopAtFailure);
    send->addStretch();
    grid->addLayout(send, 4, 0, 1, 4);
    grid->setRowMinimumHeight(4, 32);
    lblSendState->setWordWrap(true);
    lblSendState->setMinimumHeight(lblSendState->fontMetrics().lineSpacing());
    grid->addWidget(lblSendState, 5, 0, 1, 4);
    return fields;
}

QWidget* TransactionPane::MakeHistory()
{
    auto* box = new QWidget(this);
    grdHistory->setModel(m_model);
    DressTable(grdHistory, tr("History of transactions"));
    grdHistory->setToolTip(tr("Double click or Enter puts a row back into the fields"));
    MakeEmptyLabel(grdHistory, "lblHistoryEmpty",
                   tr("Nothing was sent yet.\nWhatever is sent in this view stands here with its answer."));
    const int digit = grdHistory->fontMetrics().horizontalAdvance(QLatin1Char('0'));
    const int widths[]{13, 24, 18, 6, 26, 10};
    for (int column = 0; column < HistoryModel::kColumnCount; ++column)
        grdHistory->setColumnWidth(column, digit * widths[column]);
    grdHistory->horizontalHeader()->setStretchLastSection(false);
    grdHistory->horizontalHeader()->setSectionResizeMode(HistoryModel::kText, QHeaderView::Stretch);

    QToolButton* copy = MakeButton(box, "cmdCopyHistory", "copy", tr("Copy"),
                                   tr("Copy the selected rows, or all (Ctrl+C)"));
    auto* menu = new QMenu(copy);
    menu->addAction(tr("Copy as &text"), this, [this] { Copy(QLatin1Char('\t')); });
    menu->addAction(tr("&Copy as CSV"), this, [this] { Copy(QLatin1Char(',')); });
    menu->addAction(tr("&Save as CSV..."), this,
                    [this] { emit SaveRequested(m_history.Copy(Chosen(), QLatin1Char(','))); });
    copy->setMenu(menu);
    copy->setPopupMode(QToolButton::MenuButtonPopup);
    connect(copy, &QToolButton::clicked, this, [this] { Copy(QLatin1Char('\t')); });
    QToolButton* clear = MakeButton(box, "cmdClearHistory", "erase", tr("Clear"), tr("Forget the history"));
    connect(clear, &QToolButton::clicked, this, [this] {
        m_history.Clear();
        ShowHistory();
        ShowDetail();
    });
    MakeSecondary(lblDetail);
    lblDetail->setTextInteractionFlags(Qt::TextSelectableByMouse);
    lblDetail->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    lblDetail->setFont(Theme::Current().Font(Type::Mono));
    auto* foot = new QHBoxLayout;
    foot->setSpacing(4);
    foot->addWidget(lblDetail, 1);
    foot->addWidget(copy);
    foot->addWidget(clear);
    auto* down = new QVBoxLayout(box);
    down->setContentsMargins(0, 0, 0, 0);
    down->setSpacing(4);
    down->addWidget(grdHistory, 1);
    down->addLayout(foot);
    return box;
}

void TransactionPane::Recall(const ViewState& state)
{
    TransactionFields fields;
    fields.Kind = static_cast<TransactionKind>(state.Number(u"Kind", 0, 0, kKinds - 1));
    fields.Hex = state.On(u"Hex", true);
    fields.Address = state.Text(u"Address");
    fields.Place = state.Text(u"Command", QStringLiteral("09"));
    fields.Data = state.Text(u"Data");
    fields.Expect = state.Text(u"Expect");
    fields.Mask = state.Text(u"Mask");
    Fill(fields);
    spnRepeat->setValue(state.Number(u"Repeat", 1, 1, kMostTimes));
    spnInterval->setValue(state.Number(u"Interval", 1000, 0, kLongestIntervalMs));
    chkStopAtFailure->setChecked(state.On(u"StopAtFailure", true));
}

void TransactionPane::Remember(ViewState& state) const
{
    state.Keep(u"Kind", cboKind->currentIndex());
    state.Keep(u"Hex", cboBase->currentIndex() == 0 ? 1 : 0);
    state.Keep(u"Address", txtAddress->text());
    state.Keep(u"Command", txtCmd->text());
    state.Keep(u"Data", txtData->text().left(400));
    state.Keep(u"Expect", txtExpect->text().left(400));
    state.Keep(u"Mask", txtMask->text().left(400));
    state.Keep(u"Repeat", spnRepeat->value());
    state.Keep(u"Interval", spnInterval->value());
    state.Keep(u"StopAtFailure", chkStopAtFailure->isChecked() ? 1 : 0);
}

TransactionFields TransactionPane::Fields() const
{
    return {static_cast<TransactionKind>(cboKind->currentIndex()),
            cboBase->currentIndex() == 0,
            txtAddress->text(),
            txtCmd->text(),
            txtData->text(),
            txtExpect->text(),
            txtMask->text()};
}

void TransactionPane::Fill(const TransactionFields& fields)
{
    m_shownHex = fields.Hex;
    cboBase->setCurrentIndex(fields.Hex ? 0 : 1);
    cboKind->setCurrentIndex(static_cast<int>(fields.Kind));
    txtAddress->setText(fields.Address);
    txtCmd->setText(fields.Place);
    txtData->setText(fields.Data);
    txtExpect->setText(fields.Expect);
    txtMask->setText(fields.Mask);
}

void TransactionPane::ShowKind()
{
    const auto kind = static_cast<TransactionKind>(cboKind->currentIndex());
    const TransactionForm& form = FormOf(kind);
    const bool hex = cboBase->currentIndex() == 0;
    const bool memory = kind == TransactionKind::Peek || kind == TransactionKind::Poke;
    const DataShape shape = DataOf(kind);
    lblPlace->setText(memory ? tr("Memory a&ddress") : tr("&Command"));
    lblData->setText(shape == DataShape::Length         ? tr("&Length")
                         : shape == DataShape::ByteList ? tr("&Bytes")
                                                        : tr("&Word"));
    txtData->setPlaceholderText(shape == DataShape::None         ? tr("none")
                                    : shape == DataShape::Length ? QStringLiteral("16")
                                    : shape == DataShape::Word
                                    ? (hex ? QStringLiteral("0001") : QStringLiteral("1"))
                                    : (hex ? QStringLiteral("0A 1B") : QStringLiteral("10 27")));
    for (QWidget* widget : {static_cast<QWidget*>(txtData), static_cast<QWidget*>(lblData)})
        widget->setEnabled(shape != DataShape::None);
    const bool answers = form.AnswersWord || form.AnswersBytes;
    for (QWidget* widget : {static_cast<QWidget*>(txtExpect), static_cast<QWidget*>(lblExpect),
                            static_cast<QWidget*>(txtMask), static_cast<QWidget*>(lblMask)})
        widget->setEnabled(answers);
    txtData->setToolTip(shape == DataShape::Length ? tr("How many bytes, always decimal") : QString());
    cmdSend->setIcon(ThemeIcon(form.Writes ? QStringLiteral("write") : QStringLiteral("read")));
}

void TransactionPane::ChangeBase()
{
    const bool hex = cboBase->currentIndex() == 0;
    if (hex == m_shownHex)
        return;
    TransactionFields fields = Fields();
    fields.Hex = m_shownHex;
    Fill(InBase(fields, hex));
    ShowKind();
}

QLineEdit* TransactionPane::Field(TransactionField field) const
{
    switch (field) {
    case TransactionField::Address:
        return txtAddress;
    case TransactionField::Place:
        return txtCmd;
    case TransactionField::Data:
        return txtData;
    case TransactionField::Expect:
        return txtExpect;
    case TransactionField::Mask:
        return txtMask;
    case TransactionField::None:
        break;
    }
    return nullptr;
}

void TransactionPane::Send()
{
    if (!cmdSend->isEnabled())
        return;
    const EnteredTransaction entered = Enter(Fields());
    for (QLineEdit* field : {txtAddress, txtCmd, txtData, txtExpect, txtMask}) {
        field->setProperty("refused", field == Field(entered.Wrong));
        field->update();
    }
    if (!entered.Sent) {
        ShowState(entered.Problem, true);
        if (QLineEdit* wrong = Field(entered.Wrong)) {
            wrong->setFocus();
            wrong->selectAll();
        }
        return;
    }
    ShowState({}, false);
    grdHistory->clearSelection(); // what comes now is what is looked at
    emit SendRequested({*entered.Sent, entered.Expected, spnRepeat->value(), chkStopAtFailure->isChecked()});
}

void TransactionPane::ShowState(const QString& text, bool failed) { ShowNote(lblSendState, text, failed); }

void TransactionPane::SetBusy(bool repeating, bool elsewhere)
{
    cmdSend->setEnabled(!repeating && !elsewhere);
    cmdSend->setToolTip(elsewhere ? tr("A sequence runs; it holds the bus until it ends")
                                  : tr("Send (Enter in a field)"));
    cmdStop->setVisible(repeating);
}

int TransactionPane::IntervalMs() const { return spnInterval->value(); }

void TransactionPane::ShowHistory()
{
    const QScrollBar* bar = grdHistory->verticalScrollBar();
    const bool atEnd = bar->value() >= bar->maximum();
    m_model->Sync();
    if (atEnd)
        grdHistory->scrollToBottom();
    ShowDetail();
}

void TransactionPane::ShowDetail()
{
    // of the row that was chosen, else of the newest: a table that takes the focus makes its first row
    // current
    const QModelIndex current = grdHistory->currentIndex();
    const bool chosen = current.isValid() && grdHistory->selectionModel()->isSelected(current);
    const int row = chosen ? current.row() : m_model->rowCount() - 1;
    const HistoryEntry* entry = row >= 0 ? m_history.Find(m_model->Serial(row)) : nullptr;
    lblDetail->setText(entry
                           ? AnswerDetail(entry->Data, entry->Again && FormOf(entry->Again->Kind).AnswersWord)
                           : QString());
}

void TransactionPane::UseAgain(const QModelIndex& index)
{
    const HistoryEntry* entry = index.isValid() ? m_history.Find(m_model->Serial(index.row())) : nullptr;
    if (!entry || !entry->Again || static_cast<int>(entry->Again->Kind) >= kKinds) {
        ShowState(tr("This row is no transaction that stands in the fields."), false);
        return;
    }
    Fill(FieldsOf(*entry->Again, cboBase->currentIndex() == 0));
    txtCmd->setFocus();
}

std::vector<std::int64_t> TransactionPane::Chosen() const
{
    std::vector<std::int64_t> serials;
    for (const QModelIndex& index : grdHistory->selectionModel()->selectedRows())
        serials.push_back(m_model->Serial(index.row()));
    std::ranges::sort(serials);
    if (serials.empty())
        for (int row = 0; row < m_model->rowCount(); ++row)
            serials.push_back(m_model->Serial(row));
    return serials;
}

void TransactionPane::Copy(QChar separator)
{
    QApplication::clipboard()->setText(m_history.Copy(Chosen(), separator));
}

bool TransactionPane::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == grdHistory && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<const QKeyEvent*>(event);
        if (key->key() == Qt::Key_C && key->modifiers() == Qt::ControlModifier) {
            Copy(QLatin1Char('\t'));
            return true;
        }
        if (key->key() == Qt::Key_C && key->modifiers() == (Qt::ControlModifier | Qt::ShiftModifier)) {
            Copy(QLatin1Char(','));
            return true;
        }
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            UseAgain(grdHistory->currentIndex());
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}
