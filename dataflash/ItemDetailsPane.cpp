#include "dataflash/ItemDetailsPane.h"

#include "dataflash/EachItem.h"
#include "dataflash/EditJudge.h"
#include "dataflash/ItemFacts.h"
#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QVBoxLayout>

ItemDetailsPane::ItemDetailsPane(QWidget* parent)
    : QFrame(parent), lblItemTitle(Named(new QLabel(this), "lblItemTitle")),
      lblItemPath(Named(new QLabel(this), "lblItemPath")),
      txtItemHelp(Named(new QTextBrowser(this), "txtItemHelp")), m_form(new QWidget(this)),
      cmdRevertItem(Named(new QPushButton(ThemeIcon(QStringLiteral("undo")), tr("Revert item"), this),
                          "cmdRevertItem")),
      cmdSetDefault(
          Named(new QPushButton(ThemeIcon(QStringLiteral("star")), tr("Set default"), this), "cmdSetDefault"))
{
    setObjectName(QStringLiteral("paneItem"));
    setFrameShape(StyledPanel);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    lblItemTitle->setFont(Theme::Current().Font(Type::Title));
    lblItemTitle->setWordWrap(true);
    lblItemPath->setWordWrap(true);
    MakeSecondary(lblItemPath);
    txtItemHelp->setFrameShape(NoFrame);
    txtItemHelp->setAccessibleName(tr("What the item means"));
    txtItemHelp->document()->setDocumentMargin(0);
    txtItemHelp->setOpenLinks(false);
    txtItemHelp->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);

    auto* form = new QFormLayout(m_form);
    form->setContentsMargins(0, 0, 0, 0);
    form->setVerticalSpacing(4);
    form->setHorizontalSpacing(12);
    form->setRowWrapPolicy(QFormLayout::DontWrapRows);
    static const char* const kCaptions[kFacts] = {
        QT_TR_NOOP("In the gauge"), QT_TR_NOOP("On screen"), QT_TR_NOOP("Default"), QT_TR_NOOP("Range"),
        QT_TR_NOOP("Type"),         QT_TR_NOOP("Bytes"),     QT_TR_NOOP("Formula"),
    };
    static const char* const kNames[kFacts] = {
        "lblItemGauge", "lblItemScreen", "lblItemDefault", "lblItemRange",
        "lblItemType",  "lblItemBytes",  "lblItemFormula",
    };
    for (int fact = 0; fact < kFacts; ++fact) {
        auto* caption = new QLabel(tr(kCaptions[fact]), m_form);
        MakeSecondary(caption);
        auto* text = Named(new QLabel(m_form), kNames[fact]);
        text->setWordWrap(true);
        text->setTextInteractionFlags(Qt::TextSelectableByMouse);
        text->setMinimumWidth(1);
        m_facts[static_cast<std::size_t>(fact)] = text;
        form->addRow(caption, text);
    }
    m_facts[kBytes]->setFont(Theme::Current().Font(Type::Mono));

    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addWidget(cmdRevertItem);
    buttons->addWidget(cmdSetDefault);
    buttons->addStretch();
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(12, 10, 12, 10);
    column->setSpacing(6);
    column->addWidget(lblItemTitle);
    column->addWidget(lblItemPath);
    column->addWidget(txtItemHelp, 1000);
    column->addWidget(m_form);
    column->addLayout(buttons);
    column->addStretch(1);
    connect(cmdRevertItem, &QPushButton::clicked, this, &ItemDetailsPane::Revert);
    connect(cmdSetDefault, &QPushButton::clicked, this, &ItemDetailsPane::SetDefault);
    ShowNothing();
}

void ItemDetailsPane::Show(const DataFlashTree& tree, const ItemPlace& place)
{
    const DataClass& dataClass = tree.Classes[static_cast<std::size_t>(place.Class)];
    const SubClass& subClass = dataClass.SubClasses[static_cast<std::size_t>(place.SubClass)];
    const DataItem& item = ItemAt(tree, place);
    lblItemTitle->setText(item.FullName.isEmpty() ? item.Name : item.FullName);
    lblItemPath->setText(QStringLiteral("%1 / %2").arg(dataClass.Name, subClass.Name));
    const QString help
        = item.HelpText.isEmpty() ? tr("The configuration has no help for this item.") : item.HelpText;
    if (txtItemHelp->toPlainText() != help)
        txtItemHelp->setPlainText(help); // markup in a configuration stays text
    FitHelp();
    const ItemFacts facts = FactsOf(subClass, item);
    const QString* const texts[kFacts] = {&facts.InTheGauge, &facts.OnScreen, &facts.Default, &facts.Range,
                                          &facts.Type,       &facts.Bytes,    &facts.Formula};
    for (std::size_t fact = 0; fact < kFacts; ++fact)
        m_facts[fact]->setText(*texts[fact]);
    m_edited = item.Edited() && !item.ReadValue.isNull();
    m_differs = !item.DefValue.isEmpty() && (item.Value.isNull() || DiffersFromDefault(item));
    m_form->show();
    ShowButtons();
}

void ItemDetailsPane::ShowNothing()
{
    lblItemTitle->clear();
    lblItemPath->clear();
    txtItemHelp->setPlainText(tr("Select an item to see what it means and what the gauge holds."));
    FitHelp();
    m_form->hide();
    m_edited = m_differs = false;
    ShowButtons();
}

void ItemDetailsPane::resizeEvent(QResizeEvent* event)
{
    QFrame::resizeEvent(event);
    FitHelp();
}

void ItemDetailsPane::FitHelp()
{
    const QMargins margins = layout()->contentsMargins();
    const QRect room(0, 0, std::max(1, width() - margins.left() - margins.right() - 2 * frameWidth() - 2),
                     10'000);
    txtItemHelp->setMaximumHeight(
        txtItemHelp->fontMetrics().boundingRect(room, Qt::TextWordWrap, txtItemHelp->toPlainText()).height()
        + 6);
}

void ItemDetailsPane::SetLocked(bool on)
{
    m_locked = on;
    ShowButtons();
}

void ItemDetailsPane::ShowButtons()
{
    cmdRevertItem->setEnabled(m_edited && !m_locked);
    cmdRevertItem->setToolTip(m_edited ? tr("Puts back what the gauge holds")
                                       : tr("The item holds what the gauge holds, as far as is known"));
    cmdSetDefault->setEnabled(m_differs && !m_locked);
    cmdSetDefault->setToolTip(m_differs ? tr("Puts the default value on screen")
                                        : tr("The item holds its default, or has none"));
}
