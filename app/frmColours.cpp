#include "app/frmColours.h"

#include "app/SkinPreview.h"
#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QBoxLayout>
#include <QColorDialog>
#include <QComboBox>
#include <QFileInfo>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QSpinBox>
#include <QTableWidget>

namespace {

struct ColourUse {
    const char* use;
    std::int32_t Skin::*value;
};

constexpr ColourUse kUses[]{
    {QT_TRANSLATE_NOOP("frmColours", "Tool areas"), &Skin::ToolBackground},
    {QT_TRANSLATE_NOOP("frmColours", "Window"), &Skin::Background},
    {QT_TRANSLATE_NOOP("frmColours", "Text"), &Skin::TextFore},
    {QT_TRANSLATE_NOOP("frmColours", "Selection"), &Skin::SelectionHighlight},
    {QT_TRANSLATE_NOOP("frmColours", "Text of a selection"), &Skin::TextHighlightFore},
    {QT_TRANSLATE_NOOP("frmColours", "Buttons"), &Skin::ShapedButton},
    {QT_TRANSLATE_NOOP("frmColours", "Changed value"), &Skin::ChangeHighlight},
    {QT_TRANSLATE_NOOP("frmColours", "Bit set"), &Skin::BitHigh},
    {QT_TRANSLATE_NOOP("frmColours", "Bit clear"), &Skin::BitLow},
    {QT_TRANSLATE_NOOP("frmColours", "Bit not known"), &Skin::BitUnknown},
};

const SkinKey& KeyOf(const ColourUse& use)
{
    return *std::ranges::find(kSkinKeys, use.value, &SkinKey::value);
}

enum Column { SwatchColumn, UseColumn, ColourColumn, ContrastColumn, ColumnCount };

QPixmap Swatch(const QColor& colour, qreal ratio)
{
    QPixmap swatch(QSize(20, 13) * ratio);
    swatch.setDevicePixelRatio(ratio);
    swatch.fill(colour);
    QPainter painter(&swatch);
    painter.setPen(ToColour(Theme::Current().Colours().Outline));
    painter.drawRect(0, 0, 19, 12);
    return swatch;
}

} // namespace

frmColours::frmColours(Theme& theme, ProfileStore& profiles, const StartupState& state, QWidget* parent)
    : QDialog(parent), m_theme(theme), m_editor(profiles, state), m_before(theme.CurrentSkin()),
      cboSkin(Named(new QComboBox(this), "cboSkin")),
      cmdSaveAs(Named(new QPushButton(ThemeIcon(QStringLiteral("save")), tr("Save as"), this), "cmdSaveAs")),
      lblSource(Named(new QLabel(this), "lblSource")),
      grdColours(
          Named(new QTableWidget(static_cast<int>(std::size(kUses)), ColumnCount, this), "grdColours")),
      spnSelected(Named(new QSpinBox(this), "spnSelected")),
      spnOthers(Named(new QSpinBox(this), "spnOthers")), m_preview(new SkinPreview(this)),
      lblProblem(Named(new QLabel(this), "lblProblem")),
      cmdReset(
          Named(new QPushButton(ThemeIcon(QStringLiteral("undo")), tr("&Reset skin"), this), "cmdReset")),
      cmdCancel(Named(new QPushButton(tr("Cancel"), this), "cmdCancel")),
      cmdApply(Named(new QPushButton(tr("&Apply"), this), "cmdApply")),
      cmdOK(Named(new QPushButton(tr("OK"), this), "cmdOK"))
{
    setObjectName(QStringLiteral("frmColours"));
    setWindowTitle(tr("Tarnlo - Colours"));
    LayOut();
    Refresh();

    connect(cboSkin, &QComboBox::currentTextChanged, this, &frmColours::ChooseSkin);
    connect(cmdSaveAs, &QPushButton::clicked, this, &frmColours::SaveAs);
    connect(grdColours, &QTableWidget::cellActivated, this, &frmColours::EditColour);
    connect(spnSelected, &QSpinBox::valueChanged, this,
            [this](int pixels) { SetWidth(kSkinKeys[1], pixels); });
    connect(spnOthers, &QSpinBox::valueChanged, this, [this](int pixels) { SetWidth(kSkinKeys[2], pixels); });
    connect(cmdReset, &QPushButton::clicked, this, [this] {
        m_editor.Reset();
        ShowNow();
    });
    connect(cmdCancel, &QPushButton::clicked, this, &frmColours::reject);
    connect(cmdApply, &QPushButton::clicked, this, &frmColours::Apply);
    connect(cmdOK, &QPushButton::clicked, this, &frmColours::accept);
    connect(&m_theme, &Theme::Changed, this, &frmColours::Applyskin);
}

void frmColours::LayOut()
{
    auto* lblSkin = new QLabel(tr("S&kin"), this);
    lblSkin->setBuddy(cboSkin);
    cboSkin->setMinimumWidth(170);
    MakeSecondary(lblSource);
    auto* head = new QHBoxLayout;
    head->addWidget(lblSkin);
    head->addWidget(cboSkin);
    head->addWidget(cmdSaveAs);
    head->addStretch();
    head->addWidget(lblSource);

    grdColours->setHorizontalHeaderLabels({{}, tr("Use"), tr("Colour"), tr("Contrast")});
    grdColours->setAccessibleName(tr("Colours of the skin"));
    grdColours->setToolTip(tr("Enter or a double click changes a colour"));
    grdColours->setSelectionBehavior(QAbstractItemView::SelectRows);
    grdColours->setSelectionMode(QAbstractItemView::SingleSelection);
    grdColours->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grdColours->setTabKeyNavigation(false);
    grdColours->setAlternatingRowColors(true);
    grdColours->setShowGrid(false);
    grdColours->setWordWrap(false);
    grdColours->verticalHeader()->hide();
    grdColours->verticalHeader()->setMinimumSectionSize(20);
    grdColours->verticalHeader()->setDefaultSectionSize(20);
    grdColours->horizontalHeader()->setHighlightSections(false);
    grdColours->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    grdColours->horizontalHeader()->setStretchLastSection(true);
    grdColours->horizontalHeader()->setSectionResizeMode(UseColumn, QHeaderView::Stretch);
    grdColours->setColumnWidth(SwatchColumn, 36);
    grdColours->setColumnWidth(ColourColumn, 76);
    grdColours->setColumnWidth(ContrastColumn, 120);
    grdColours->setMinimumHeight(11 * 20 + 12);
    grdColours->setMinimumWidth(400);

    auto* lblSelected = new QLabel(tr("Selected button &edge"), this);
    auto* lblOthers = new QLabel(tr("o&thers"), this);
    lblSelected->setBuddy(spnSelected);
    lblOthers->setBuddy(spnOthers);
    for (QSpinBox* width : {spnSelected, spnOthers}) {
        width->setRange(0, 20);
        width->setSuffix(tr(" px"));
    }
    auto* widths = new QHBoxLayout;
    widths->addWidget(lblSelected);
    widths->addWidget(spnSelected);
    widths->addSpacing(8);
    widths->addWidget(lblOthers);
    widths->addWidget(spnOthers);
    widths->addStretch();

    auto* lblPreview = new QLabel(tr("Preview"), this);
    lblPreview->setFont(m_theme.Font(Type::Strong));
    auto* left = new QVBoxLayout;
    left->addWidget(grdColours, 1);
    left->addLayout(widths);
    auto* right = new QVBoxLayout;
    right->addWidget(lblPreview);
    right->addWidget(m_preview);
    right->addStretch();
    auto* middle = new QHBoxLayout;
    middle->setSpacing(12);
    middle->addLayout(left, 1);
    middle->addLayout(right);

    lblProblem->setWordWrap(true);
    lblProblem->setForegroundRole(QPalette::BrightText);
    lblProblem->hide();
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdReset);
    buttons->addStretch();
    for (QPushButton* button : {cmdCancel, cmdApply, cmdOK})
        buttons->addWidget(button);
    for (QPushButton* button : {cmdSaveAs, cmdReset, cmdCancel, cmdApply})
        button->setAutoDefault(false);
    cmdOK->setDefault(true);

    auto* down = new QVBoxLayout(this);
    down->addLayout(head);
    down->addLayout(middle, 1);
    down->addWidget(lblProblem);
    down->addLayout(buttons);
}

void frmColours::Refresh()
{
    m_filling = true; // controls that are filled do not edit
    cboSkin->clear();
    cboSkin->addItems(m_editor.Names());
    cboSkin->setCurrentText(m_editor.Name());
    lblSource->setText(m_editor.Changed() ? tr("changed, not saved")
                                          : tr("from %1").arg(m_editor.FileName()));
    int row = 0;
    for (const ColourUse& use : kUses) {
        const SkinKey& key = KeyOf(use);
        const Rgb colour = SkinColour(m_editor.Edited(), key);
        const ContrastCheck contrast = CheckContrast(m_editor.Edited(), key);
        const auto put = [this, row](int column, const QString& text) {
            auto* item = new QTableWidgetItem(text);
            grdColours->setItem(row, column, item);
            return item;
        };
        put(SwatchColumn, {})->setData(Qt::DecorationRole, Swatch(ToColour(colour), devicePixelRatioF()));
        put(UseColumn, tr(use.use))->setToolTip(QLatin1String(key.name));
        put(ColourColumn, RgbText(colour).toUpper())->setFont(m_theme.Font(Type::Mono));
        QTableWidgetItem* item = put(
            ContrastColumn, QStringLiteral("%1 %2").arg(tr(contrast.what)).arg(contrast.ratio, 0, 'f', 1));
        item->setIcon(contrast.Ok() ? ThemeIcon(QStringLiteral("ok"), IconInk::Good)
                                    : ThemeIcon(QStringLiteral("warn"), IconInk::Caution));
        item->setToolTip(contrast.Ok() ? tr("At least %1: easy to tell apart").arg(contrast.least)
                                       : tr("Below %1: hard to tell apart").arg(contrast.least));
        ++row;
    }
    if (grdColours->currentRow() < 0)
        grdColours->setCurrentCell(0, UseColumn);
    spnSelected->setValue(m_editor.Edited().HighlightBorderWidth);
    spnOthers->setValue(m_editor.Edited().UnHighlightBorderWidth);
    cmdReset->setEnabled(m_editor.Changed());
    m_filling = false;
}

void frmColours::ShowNow()
{
    ShowProblem({});
    m_theme.ApplySkinToAllForms(m_editor.Edited());
}

void frmColours::Applyskin()
{
    Refresh();
    m_preview->update();
}

void frmColours::ChooseSkin(const QString& name)
{
    if (m_filling)
        return;
    m_editor.Choose(name);
    ShowNow();
}

void frmColours::EditColour(int row)
{
    const SkinKey& key = KeyOf(kUses[row]);
    const std::int32_t before = m_editor.Edited().*key.value;
    QColorDialog dialog(ToColour(SkinColour(m_editor.Edited(), key)), this);
    dialog.setObjectName(QStringLiteral("dlgColour"));
    dialog.setWindowTitle(tr(kUses[row].use));
    dialog.setOption(QColorDialog::DontUseNativeDialog);
    connect(&dialog, &QColorDialog::currentColorChanged, this, [&](const QColor& colour) {
        const auto channel = [](int value) { return static_cast<std::uint8_t>(value); };
        m_editor.SetNumber(
            key, ColourNumber({channel(colour.red()), channel(colour.green()), channel(colour.blue())}));
        ShowNow();
    });
    if (dialog.exec() != QDialog::Accepted) {
        m_editor.SetNumber(key, before);
        ShowNow();
    }
}

void frmColours::SetWidth(const SkinKey& key, int pixels)
{
    if (m_filling)
        return;
    m_editor.SetNumber(key, pixels);
    ShowNow();
}

bool frmColours::Apply()
{
    const QString problem = m_editor.Save();
    if (problem.isEmpty())
        m_before = m_editor.Edited();
    Refresh();
    ShowProblem(problem);
    return problem.isEmpty();
}

void frmColours::SaveAs()
{
    bool accepted = false;
    const QString name = QInputDialog::getText(this, tr("Save skin as"), tr("Name of the skin"),
                                               QLineEdit::Normal, m_editor.Name(), &accepted);
    if (!accepted)
        return;
    const QString problem = m_editor.SaveAs(name);
    if (problem.isEmpty())
        m_before = m_editor.Edited();
    Refresh();
    ShowProblem(problem);
}

void frmColours::ShowProblem(const QString& problem)
{
    lblProblem->setText(problem);
    lblProblem->setVisible(!problem.isEmpty());
}

void frmColours::accept()
{
    if (Apply())
        QDialog::accept();
}

void frmColours::reject()
{
    m_theme.ApplySkinToAllForms(m_before);
    QDialog::reject();
}
