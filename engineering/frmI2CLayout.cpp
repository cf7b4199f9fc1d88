// Layout of the I2C tool; frmI2C.cpp has what it does.
#include "engineering/ViewParts.h"
#include "engineering/frmI2C.h"
#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QResizeEvent>
#include <QScrollArea>
#include <QSpinBox>
#include <QSplitter>
#include <QTabWidget>
#include <QTableWidget>

namespace {

constexpr int kNarrow = 800; // logical pixels of the view, below which its panes fold into tabs
constexpr int kLow = 420;
constexpr int kColumns = 8; // addresses in a row, every second one of sixteen
constexpr int kRowHeight = 22;

QLabel* Caption(const QString& text, QWidget* buddy, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setBuddy(buddy);
    MakeSecondary(label);
    return label;
}

} // namespace

void frmI2C::LayOut()
{
    m_scanPane = MakeScanPane();
    m_workPane = MakeWorkPane();
    m_across->addWidget(m_scanPane);
    m_across->addWidget(m_workPane);
    m_across->setStretchFactor(0, 0);
    m_across->setStretchFactor(1, 1);
    m_across->setChildrenCollapsible(false);
    m_tabs->hide();
    lblI2CState->setWordWrap(true);
    pbI2C->setTextVisible(false);
    pbI2C->setMaximumWidth(220);
    pbI2C->setAccessibleName(tr("Progress"));
    cmdCancelI2C->setToolTip(tr("End after the present step (Esc)"));
    cmdCancelI2C->setAutoDefault(false);
    auto* foot = new QHBoxLayout;
    foot->setSpacing(8);
    foot->addWidget(lblI2CState, 1);
    foot->addWidget(pbI2C);
    foot->addWidget(cmdCancelI2C);
    auto* down = new QVBoxLayout(this);
    down->setContentsMargins(8, 6, 8, 6);
    down->setSpacing(4);
    down->addWidget(m_across, 1);
    down->addWidget(m_tabs, 1);
    down->addLayout(foot);
}

QWidget* frmI2C::MakeScanPane()
{
    auto* pane = new QWidget(this);
    cmdScan->setToolTip(tr("Ask every address whether somebody is there; nothing is written (F5)"));
    cmdScan->setAutoDefault(false);
    chkRisky->setToolTip(
        tr("0x60 to 0x6E and 0xD0 to 0xDE: a read alone can protect a memory for good or lock up a "
           "clock generator there"));
    auto* bar = new QHBoxLayout;
    bar->setSpacing(8);
    bar->addWidget(cmdScan);
    bar->addWidget(chkRisky);
    bar->addStretch();

    DressTable(grdScan, tr("Addresses of the bus"));
    grdScan->setSelectionBehavior(QAbstractItemView::SelectItems);
    grdScan->setSelectionMode(QAbstractItemView::SingleSelection);
    grdScan->setAlternatingRowColors(false);
    grdScan->setShowGrid(true);
    grdScan->verticalHeader()->show();
    grdScan->verticalHeader()->setDefaultSectionSize(kRowHeight);
    grdScan->horizontalHeader()->setStretchLastSection(false);
    grdScan->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    QStringList across;
    for (int column = 0; column < kColumns; ++column)
        across << QStringLiteral("+%1").arg(QString::number(2 * column, 16).toUpper());
    grdScan->setHorizontalHeaderLabels(across);
    QStringList downwards;
    for (int row = 0; row < grdScan->rowCount(); ++row)
        downwards << HexNumber(0x10 * (row + 1));
    grdScan->setVerticalHeaderLabels(downwards);
    for (int address = BusScan::kFirst; address <= BusScan::kLast; address += 2)
        ShowScanned({static_cast<std::int16_t>(address)});
    for (QHeaderView* header : {grdScan->horizontalHeader(), grdScan->verticalHeader()})
        header->setMinimumSectionSize(kRowHeight);
    grdScan->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    grdScan->setMinimumWidth(fontMetrics().horizontalAdvance(QLatin1Char('0')) * 46);
    grdScan->setMaximumHeight(grdScan->rowCount() * kRowHeight
                              + grdScan->horizontalHeader()->sizeHint().height() + 2 * grdScan->frameWidth());

    DressTable(grdFound, tr("Parts that answered"));
    grdFound->setSelectionMode(QAbstractItemView::SingleSelection);
    grdFound->setHorizontalHeaderLabels({tr("Address"), tr("7-bit"), tr("Usually")});
    for (const int column : {0, 1})
        grdFound->setColumnWidth(column, fontMetrics().horizontalAdvance(QLatin1Char('0')) * 9);
    grdFound->setToolTip(tr("The chosen row's address is taken over"));
    MakeEmptyLabel(grdFound, "lblFoundEmpty", tr("Nobody was asked yet. Scan shows who answers."));

    auto* down = new QVBoxLayout(pane);
    down->setContentsMargins(0, 0, 6, 0);
    down->setSpacing(6);
    down->addLayout(bar);
    down->addWidget(grdScan, 3);
    down->addWidget(grdFound, 1);
    down->addStretch();
    return pane;
}

QGroupBox* frmI2C::MakeTransferBox()
{
    auto* box = new QGroupBox(tr("One transfer"), this);
    txtI2CAddress->setToolTip(tr("Bus address in 8-bit form, hexadecimal"));
    txtRegister->setToolTip(tr("Register or place in the part, 00 to FF, hexadecimal"));
    spnLength->setRange(1, 255);
    spnLength->setValue(16);
    spnLength->setSuffix(tr(" bytes"));
    spnLength->setToolTip(tr("How many bytes a read asks for"));
    txtBytes->setPlaceholderText(QStringLiteral("0A 1B"));
    txtBytes->setToolTip(tr("What a write sends: pairs of hexadecimal digits, up to 255 bytes"));
    cmdReadI2C->setToolTip(tr("Read these bytes (Enter in address or register)"));
    cmdWriteI2C->setToolTip(tr("Write the bytes, after a question (Enter in bytes)"));
    auto* grid = new QGridLayout(box);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(4);
    grid->addWidget(Caption(tr("&Address"), txtI2CAddress, box), 0, 0);
    grid->addWidget(Caption(tr("Re&gister"), txtRegister, box), 0, 1);
    grid->addWidget(Caption(tr("&Length"), spnLength, box), 0, 2);
    grid->addWidget(Caption(tr("&Bytes to write"), txtBytes, box), 0, 4);
    grid->addWidget(txtI2CAddress, 1, 0);
    grid->addWidget(txtRegister, 1, 1);
    grid->addWidget(spnLength, 1, 2);
    grid->addWidget(cmdReadI2C, 1, 3);
    grid->addWidget(txtBytes, 1, 4);
    grid->addWidget(cmdWriteI2C, 1, 5);
    grid->setColumnStretch(0, 1);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(4, 3);
    return box;
}

QGroupBox* frmI2C::MakeEepromBox()
{
    auto* box = new QGroupBox(tr("EEPROM"), this);
    for (const int size : {128, 256, 512, 1024, kMostEepromBytes})
        cboSize->addItem(tr("%1 bytes").arg(size), size);
    cboSize->setCurrentIndex(1);
    cboSize->setToolTip(
        tr("Parts with one address byte; above 256 bytes they take the next bus addresses, too"));
    for (const int page : {1, 8, 16, 32})
        cboPage->addItem(page == 1 ? tr("1 byte") : tr("%1 bytes").arg(page), page);
    cboPage->setCurrentIndex(1);
    cboPage->setToolTip(tr("How many bytes one write may hold; 8 is safe for nearly all parts"));
    spnWriteMs->setRange(0, 100);
    spnWriteMs->setValue(5);
    spnWriteMs->setSuffix(tr(" ms"));
    spnWriteMs->setToolTip(tr("How long the part is left alone after each write"));
    txtEepromAddress->setToolTip(tr("Bus address of the first 256 bytes, 8-bit form, hexadecimal"));
    cmdDump->setToolTip(tr("Read the whole part and save it"));
    cmdLoad->setToolTip(tr("Write a file into the part, after a question, and verify it"));
    cmdVerify->setToolTip(tr("Compare the part with a file; nothing is written"));
    auto* grid = new QGridLayout(box);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(4);
    grid->addWidget(Caption(tr("A&ddress"), txtEepromAddress, box), 0, 0);
    grid->addWidget(Caption(tr("Si&ze"), cboSize, box), 0, 1);
    grid->addWidget(Caption(tr("&Page"), cboPage, box), 0, 2);
    grid->addWidget(Caption(tr("W&rite time"), spnWriteMs, box), 0, 3);
    grid->addWidget(txtEepromAddress, 1, 0);
    grid->addWidget(cboSize, 1, 1);
    grid->addWidget(cboPage, 1, 2);
    grid->addWidget(spnWriteMs, 1, 3);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    for (QPushButton* button : {cmdDump, cmdLoad, cmdVerify})
        buttons->addWidget(button);
    buttons->addStretch();
    grid->addLayout(buttons, 2, 0, 1, 5);
    grid->setColumnStretch(4, 1);
    return box;
}

QWidget* frmI2C::MakeWorkPane()
{
    auto* pane = new QWidget(this);
    for (QPushButton* button : {cmdReadI2C, cmdWriteI2C, cmdDump, cmdLoad, cmdVerify})
        button->setAutoDefault(false);
    MakeSecondary(lblDump);
    txtDump->setReadOnly(true);
    txtDump->setLineWrapMode(QPlainTextEdit::NoWrap);
    txtDump->setAccessibleName(tr("Bytes that were read"));
    txtDump->setTabChangesFocus(true);
    txtDump->setPlaceholderText(tr("Bytes that were read stand here."));
    auto* down = new QVBoxLayout(pane);
    down->setContentsMargins(6, 0, 0, 0);
    down->setSpacing(6);
    down->addWidget(MakeTransferBox());
    down->addWidget(MakeEepromBox());
    down->addWidget(lblDump);
    down->addWidget(txtDump, 1);
    auto* area = new QScrollArea(this); // of a low window: squeezed fields cannot be read
    area->setWidget(pane);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);
    area->viewport()->setAutoFillBackground(false);
    pane->setAutoFillBackground(false);
    return area;
}

void frmI2C::Fold(bool narrow)
{
    if (narrow == m_narrow)
        return;
    m_narrow = narrow;
    if (narrow) {
        m_tabs->addTab(m_scanPane, tr("Scan"));
        m_tabs->addTab(m_workPane, tr("Read and write"));
    } else {
        m_across->addWidget(m_scanPane);
        m_across->addWidget(m_workPane);
    }
    // of the tabs only the one in front: the other would be drawn over it
    for (QWidget* pane : {m_scanPane, m_workPane})
        pane->setVisible(!narrow || pane == m_scanPane);
    m_tabs->setVisible(narrow);
    m_across->setVisible(!narrow);
    if (narrow)
        m_tabs->setCurrentIndex(0);
}

void frmI2C::resizeEvent(QResizeEvent* event)
{
    ChildView::resizeEvent(event);
    Fold(width() < kNarrow || height() < kLow);
}
