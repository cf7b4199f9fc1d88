#include "app/frmTargets.h"

#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QBoxLayout>
#include <QDesktopServices>
#include <QFileInfo>
#include <QFormLayout>
#include <QFrame>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QStackedWidget>
#include <QUrl>

namespace {

constexpr int kListRow = 22;

QListWidget* NewList(const char* name, const QString& accessibleName, QWidget* parent)
{
    auto* list = Named(new QListWidget(parent), name);
    list->setAccessibleName(accessibleName);
    list->setIconSize({16, 16});
    list->setUniformItemSizes(true);
    return list;
}

} // namespace

frmTargets::frmTargets(TargetList& targets, UserMessages& messages, const StartupState& state,
                       QWidget* parent)
    : QDialog(parent), m_targets(targets), m_messages(messages), m_state(state), picReason(new QLabel(this)),
      lblReason(Named(new QLabel(tr("Choose the target that fits the gauge."), this), "lblReason")),
      Label1(Named(new QLabel(tr("C&ategory"), this), "Label1")),
      Label2(Named(new QLabel(tr("&Target"), this), "Label2")),
      lstTargetCategory(NewList("lstTargetCategory", tr("Category"), this)),
      lstTargets(NewList("lstTargets", tr("All targets"), this)),
      lstFiltered(NewList("lstFiltered", tr("Targets of the category"), this)),
      m_lists(new QStackedWidget(this)), lblFile(Named(new QLabel(this), "lblFile")),
      lblOffers(Named(new QLabel(this), "lblOffers")), lblAddress(Named(new QLabel(this), "lblAddress")),
      cmdHelp(Named(new QPushButton(ThemeIcon(QStringLiteral("help")), tr("&Help"), this), "cmdHelp")),
      cmdSetDef(Named(new QPushButton(ThemeIcon(QStringLiteral("star")), tr("&Set as default"), this),
                      "cmdSetDef")),
      cmdCancel(Named(new QPushButton(tr("Cancel"), this), "cmdCancel")),
      cmdOK(Named(new QPushButton(tr("OK"), this), "cmdOK"))
{
    setObjectName(QStringLiteral("frmTargets"));
    setWindowTitle(tr("Select target"));
    LayOut();

    lstTargetCategory->addItems(m_targets.Categories());
    for (int i = 0; i < lstTargetCategory->count(); ++i)
        lstTargetCategory->item(i)->setSizeHint({0, kListRow});
    FillList(lstTargets, m_targets.LinesOf(QStringLiteral("All")));

    connect(lstTargetCategory, &QListWidget::currentRowChanged, this, &frmTargets::ShowCategory);
    for (QListWidget* list : {lstTargets, lstFiltered}) {
        connect(list, &QListWidget::itemSelectionChanged, this, &frmTargets::ShowDetails);
        connect(list, &QListWidget::itemActivated, this, &frmTargets::accept);
    }
    connect(cmdHelp, &QPushButton::clicked, this,
            [this] { OpenDocument(QStringLiteral("SupportedTargets.html")); });
    connect(cmdSetDef, &QPushButton::clicked, this, &frmTargets::SetDefault);
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(cmdOK, &QPushButton::clicked, this, &frmTargets::accept);
    connect(&Theme::Current(), &Theme::Changed, this, &frmTargets::Applyskin);

    lstTargetCategory->setCurrentRow(0);
    lstTargets->setFocus();
    Applyskin();
}

void frmTargets::LayOut()
{
    auto* lblHint = new QLabel(tr("Nothing is written to the gauge by choosing."), this);
    MakeSecondary(lblHint);
    lblReason->setWordWrap(true);
    auto* reason = new QVBoxLayout;
    reason->setSpacing(0);
    reason->addWidget(lblReason);
    reason->addWidget(lblHint);
    auto* head = new QHBoxLayout;
    head->addWidget(picReason, 0, Qt::AlignTop);
    head->addLayout(reason, 1);

    Label1->setBuddy(lstTargetCategory);
    Label2->setBuddy(lstTargets);
    m_lists->addWidget(lstTargets);
    m_lists->addWidget(lstFiltered);
    auto* lists = new QGridLayout;
    lists->setHorizontalSpacing(12);
    lists->setVerticalSpacing(4);
    lists->addWidget(Label1, 0, 0);
    lists->addWidget(Label2, 0, 1);
    lists->addWidget(lstTargetCategory, 1, 0);
    lists->addWidget(m_lists, 1, 1);
    lists->setColumnStretch(0, 10);
    lists->setColumnStretch(1, 32);

    auto* details = new QFrame(this);
    details->setFrameShape(QFrame::StyledPanel);
    auto* form = new QFormLayout(details);
    form->setContentsMargins(8, 6, 8, 6);
    form->setVerticalSpacing(0);
    form->setHorizontalSpacing(32);
    const auto addRow = [&](const QString& caption, QLabel* value) {
        auto* label = new QLabel(caption, details);
        MakeSecondary(label);
        value->setTextInteractionFlags(Qt::TextSelectableByMouse);
        form->addRow(label, value);
    };
    addRow(tr("File"), lblFile);
    addRow(tr("Offers"), lblOffers);
    addRow(tr("Address"), lblAddress);

    auto* buttons = new QHBoxLayout;
    for (QPushButton* left : {cmdHelp, cmdSetDef})
        buttons->addWidget(left);
    buttons->addStretch();
    for (QPushButton* right : {cmdCancel, cmdOK})
        buttons->addWidget(right);
    for (QPushButton* button : {cmdHelp, cmdSetDef, cmdCancel})
        button->setAutoDefault(false);
    cmdOK->setDefault(true);

    auto* down = new QVBoxLayout(this);
    down->addLayout(head);
    down->addLayout(lists, 1);
    down->addWidget(details);
    down->addLayout(buttons);
    resize(660, 440);
    setMinimumSize(480, 320);
}

void frmTargets::ShowReason(const QString& reason) { lblReason->setText(reason); }

void frmTargets::FillList(QListWidget* list, const QStringList& lines)
{
    const std::optional<QString> remembered = m_targets.DefaultLine();
    QString chosen = SelectedLine();
    if (chosen.isEmpty())
        chosen = remembered.value_or(m_targets.LineInUse());
    QPixmap blank(16, 16);
    blank.fill(Qt::transparent);
    list->clear();
    for (const QString& line : lines) {
        auto* item = new QListWidgetItem(
            line == remembered ? ThemeIcon(QStringLiteral("star")) : QIcon(blank), line, list);
        item->setSizeHint({0, kListRow});
        if (line == remembered)
            item->setToolTip(tr("The default target"));
        if (line == chosen)
            list->setCurrentItem(item);
    }
}

void frmTargets::ShowCategory()
{
    const QStringList categories = m_targets.Categories();
    const int row = lstTargetCategory->currentRow();
    if (row <= 0) {
        m_lists->setCurrentWidget(lstTargets);
    } else {
        FillList(lstFiltered, m_targets.LinesOf(categories[row]));
        m_lists->setCurrentWidget(lstFiltered);
    }
    Label2->setBuddy(LinesInView());
    ShowDetails();
}

void frmTargets::ShowDetails()
{
    const TargetEntry* entry = m_targets.Find(SelectedLine());
    cmdSetDef->setEnabled(entry);
    if (!entry) {
        lblFile->setText(m_targets.Entries().empty()
                             ? tr("No target is known: section [Targets] of %1 is empty.")
                                   .arg(QFileInfo(m_state.ProgramSettingsFile).fileName())
                             : tr("No target is selected."));
        lblOffers->clear();
        lblAddress->clear();
        return;
    }
    const TargetDetails details = m_targets.Details(*entry);
    lblFile->setText(details.found ? details.file
                                   : tr("%1 is not there. Check the installation.").arg(details.file));
    lblOffers->setText(details.found ? details.offers : QString());
    lblAddress->setText(details.found ? QStringLiteral("0x%1").arg(details.address, 2, 16, QLatin1Char('0'))
                                      : QString());
}

QListWidget* frmTargets::LinesInView() const
{
    return m_lists->currentWidget() == lstFiltered ? lstFiltered : lstTargets;
}

QString frmTargets::SelectedLine() const
{
    const QList<QListWidgetItem*> selected = LinesInView()->selectedItems();
    return selected.isEmpty() ? QString() : selected.first()->text();
}

void frmTargets::accept()
{
    m_chosen = m_targets.Choose(SelectedLine());
    if (!m_chosen.isEmpty())
        QDialog::accept();
}

void frmTargets::SetDefault()
{
    const QString problem = m_targets.SetDefault(SelectedLine());
    if (!problem.isEmpty())
        m_messages.Show(problem);
    FillList(lstTargets, m_targets.LinesOf(QStringLiteral("All")));
    ShowCategory();
}

void frmTargets::OpenDocument(const QString& fileName)
{
    const QString path = m_state.ProgramFolder + QStringLiteral("/Documentation/") + fileName;
    if (!QFileInfo::exists(path) || !QDesktopServices::openUrl(QUrl::fromLocalFile(path)))
        m_messages.Show(QStringLiteral("Error opening file ") + fileName);
}

void frmTargets::Applyskin()
{
    picReason->setPixmap(IconPixmap(QStringLiteral("target"), 24,
                                    ToColour(Theme::Current().Colours().Caution), devicePixelRatioF()));
}
