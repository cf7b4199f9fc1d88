#include "sbs/frmTables.h"

#include "look/Controls.h"
#include "look/Icons.h"
#include "platform/ProgramFolder.h"
#include "sbs/FormState.h"
#include "sbs/TableDelegate.h"
#include "sbs/TableModel.h"
#include "sbs/TablePreviewPane.h"

#include <QAction>
#include <QBoxLayout>
#include <QFileInfo>
#include <QHeaderView>
#include <QMenu>
#include <QShortcut>
#include <QToolButton>

namespace {

constexpr int kRowHeight = 20;
constexpr int kWordWidth = 1000; // below it buttons show their icons alone
constexpr int kLow = 420;
constexpr int kWidestColumn = 40; // figures

} // namespace

QAction* frmTables::Add(const char* name, const QString& text, const char* icon, const QKeySequence& shortcut,
                        void (frmTables::*does)())
{
    QAction* action = ViewAction(this, name, text, icon, shortcut);
    connect(action, &QAction::triggered, this, does);
    return action;
}

void frmTables::MakeActions()
{
    actOpen = Add("mnuFileOpenTable", tr("&Open table..."), "open", QKeySequence(tr("Ctrl+O")),
                  &frmTables::AskOpen);
    actNew = Add("mnuFileNewTable", tr("&New table"), nullptr, {}, &frmTables::NewTable);
    actSave
        = Add("mnuFileSaveTable", tr("&Save table"), "save", QKeySequence(tr("Ctrl+S")), &frmTables::SaveNow);
    actSaveAs = Add("mnuFileSaveTableAs", tr("Save table &as..."), nullptr, {}, &frmTables::AskSaveAs);

    mnuTable = new QMenu(tr("&Table"), this);
    const auto entry = [this](QAction* action) {
        mnuTable->addAction(action);
        return action;
    };
    actUndo = entry(Add("mnuTableUndo", tr("&Undo"), "undo", QKeySequence(tr("Ctrl+Z")), &frmTables::Undo));
    actRedo
        = entry(Add("mnuTableRedo", tr("&Redo"), "redo", QKeySequence(tr("Ctrl+Shift+Z")), &frmTables::Redo));
    mnuTable->addSeparator();
    actInsert = entry(
        Add("mnuTableInsert", tr("&Insert row"), "add", QKeySequence(tr("Ins")), &frmTables::InsertRow));
    actDuplicate = entry(Add("mnuTableDuplicate", tr("&Duplicate rows"), "copy", QKeySequence(tr("Ctrl+D")),
                             &frmTables::DuplicateRows));
    actRemove = entry(Add("mnuTableRemove", tr("R&emove rows"), "remove", QKeySequence(tr("Ctrl+Del")),
                          &frmTables::RemoveRows));
    actUp = entry(
        Add("mnuTableUp", tr("&Move rows up"), "prev", QKeySequence(tr("Alt+Up")), &frmTables::MoveUp));
    actDown = entry(Add("mnuTableDown", tr("Mo&ve rows down"), "next", QKeySequence(tr("Alt+Down")),
                        &frmTables::MoveDown));
    mnuTable->addSeparator();
    entry(Add("mnuTableCut", tr("Cu&t rows"), nullptr, QKeySequence(tr("Ctrl+X")), &frmTables::Cut));
    entry(Add("mnuTableCopy", tr("&Copy"), nullptr, QKeySequence(tr("Ctrl+C")), &frmTables::Copy));
    entry(Add("mnuTablePaste", tr("&Paste"), nullptr, QKeySequence(tr("Ctrl+V")), &frmTables::Paste));
    mnuTable->addSeparator();
    entry(Add("mnuTableFind", tr("&Find"), "search", QKeySequence(tr("Ctrl+F")), &frmTables::ShowSearch));
    entry(Add("mnuTableFindNext", tr("Find &next"), nullptr, QKeySequence(tr("F3")), &frmTables::FindNext));
    entry(Add("mnuTableFindPrevious", tr("Find pre&vious"), nullptr, QKeySequence(tr("Shift+F3")),
              &frmTables::FindPrevious));
    MakeOpenMenu();
}

void frmTables::MakeOpenMenu()
{
    const TableSettings settings(m_profiles, m_state);
    m_openMenu = new QMenu(this);
    const std::pair<QString, QString> own[]{
        {tr("&Registers of the target"), GetSBSCfgFilename(settings)},
        {tr("&Flags of the target"), GetSBSFlagsCfgFilename(settings)},
        {tr("Flash &targets"), QStringLiteral("Srec.tgt")},
    };
    for (const auto& [text, file] : own) {
        const QString path = ResolvePath(m_state.ProgramFolder, file);
        QAction* action = m_openMenu->addAction(QStringLiteral("%1 (%2)").arg(text, file), this,
                                                [this, path] { OpenTable(path); });
        action->setEnabled(QFileInfo(path).isFile());
    }
    m_openMenu->addSeparator();
    m_openMenu->addAction(actOpen);
    m_openMenu->addAction(actNew);
}

QToolButton* frmTables::Button(QAction* action, bool withText)
{
    auto* button = new QToolButton(m_toolbar);
    button->setDefaultAction(action);
    button->setObjectName(QLatin1String("cmd") + action->objectName().mid(3));
    button->setAccessibleName(QString(action->text()).remove(QLatin1Char('&')));
    if (withText)
        m_wordButtons << button;
    return button;
}

QWidget* frmTables::MakeToolbar()
{
    m_toolbar = new QWidget(this);
    auto* row = new QHBoxLayout(m_toolbar);
    row->setContentsMargins(8, 6, 8, 6);
    row->setSpacing(4);
    cboKind->addItems({tr("Registers"), tr("Flags"), tr("Flash targets")});
    cboKind->setAccessibleName(tr("Kind of table"));
    cboKind->setToolTip(
        tr("What the file holds. It is guessed when a file is opened;\nanother choice reads the same "
           "file as that kind."));
    connect(cboKind, &QComboBox::activated, this, &frmTables::ChooseKind);
    row->addWidget(cboKind);
    row->addSpacing(4);
    QToolButton* open = Button(actOpen, true);
    open->setMenu(m_openMenu);
    open->setPopupMode(QToolButton::MenuButtonPopup);
    open->setText(tr("Open"));
    row->addWidget(open);
    row->addWidget(Button(actSave, true));
    row->addSpacing(8);
    for (QAction* action : {actInsert, actDuplicate, actRemove, actUp, actDown})
        row->addWidget(Button(action, action == actInsert));
    row->addSpacing(8);
    row->addWidget(Button(actUndo, false));
    row->addWidget(Button(actRedo, false));
    row->addStretch();
    txtFind->setPlaceholderText(tr("Find (Ctrl+F)"));
    txtFind->setAccessibleName(tr("Find in the table"));
    txtFind->setClearButtonEnabled(true);
    txtFind->setMaximumWidth(220);
    row->addWidget(txtFind, 1);
    connect(txtFind, &QLineEdit::returnPressed, this, &frmTables::FindNext);
    connect(txtFind, &QLineEdit::textEdited, this, [this] { Find(true); });
    auto* leave = new QShortcut(QKeySequence(Qt::Key_Escape), txtFind, nullptr, nullptr, Qt::WidgetShortcut);
    connect(leave, &QShortcut::activated, this, [this] {
        txtFind->clear();
        grdTable->setFocus();
    });
    return m_toolbar;
}

void frmTables::LayOut()
{
    auto* delegate = new TableDelegate(this);
    connect(delegate, &TableDelegate::Typed, this, &frmTables::ShowFooter);
    connect(delegate, &TableDelegate::EditEnded, this, &frmTables::ShowAll);
    grdTable->setModel(m_model);
    grdTable->setItemDelegate(delegate);
    grdTable->setAccessibleName(tr("Rows of the table"));
    grdTable->setAlternatingRowColors(true);
    grdTable->setShowGrid(false);
    grdTable->setWordWrap(false);
    grdTable->setTabKeyNavigation(false);
    grdTable->setSelectionMode(QAbstractItemView::ContiguousSelection);
    grdTable->setEditTriggers(QAbstractItemView::EditKeyPressed | QAbstractItemView::DoubleClicked
                              | QAbstractItemView::AnyKeyPressed);
    grdTable->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    grdTable->horizontalHeader()->setHighlightSections(false);
    grdTable->verticalHeader()->setMinimumSectionSize(kRowHeight);
    grdTable->verticalHeader()->setDefaultSectionSize(kRowHeight);
    grdTable->verticalHeader()->setToolTip(
        tr("Row number, from 0, by which flags and settings name the row"));
    lblEmpty->setAlignment(Qt::AlignCenter);
    lblEmpty->setWordWrap(true);
    MakeSecondary(lblEmpty);
    lblFooter->setContentsMargins(8, 2, 8, 2);
    lblFooter->setWordWrap(true);

    auto* inner = new QVBoxLayout(grdTable->viewport()); // the word stands where rows would
    inner->addWidget(lblEmpty);
    auto* down = new QVBoxLayout(this);
    down->setContentsMargins(0, 0, 0, 0);
    down->setSpacing(0);
    down->addWidget(MakeToolbar());
    down->addWidget(grdTable, 1);
    down->addWidget(lblFooter);
    down->addWidget(m_preview);
}

void frmTables::FitColumns()
{
    QHeaderView* header = grdTable->horizontalHeader();
    const bool flags
        = m_document.Kind() == TableKind::Flags; // names of bits are long, and two numbers follow them
    header->setStretchLastSection(!flags);
    for (int column = 0; column < m_document.Columns(); ++column)
        header->setSectionResizeMode(column,
                                     flags && column == 1 ? QHeaderView::Stretch : QHeaderView::Interactive);
    const int widest = fontMetrics().horizontalAdvance(QLatin1Char('0')) * kWidestColumn;
    grdTable->resizeColumnsToContents();
    for (int column = 0; column < m_document.Columns(); ++column)
        if (grdTable->columnWidth(column) > widest)
            grdTable->setColumnWidth(column, widest);
}

void frmTables::resizeEvent(QResizeEvent* event)
{
    ChildView::resizeEvent(event);
    for (QToolButton* button : m_wordButtons)
        button->setToolButtonStyle(width() < kWordWidth ? Qt::ToolButtonIconOnly
                                                        : Qt::ToolButtonTextBesideIcon);
    m_preview->SetCompact(height() < kLow);
}
