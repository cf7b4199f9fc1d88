#include "sbs/TablePreviewPane.h"

#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"
#include "sbs/FlagLineStrip.h"
#include "sbs/RowTexts.h"

#include <QBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

TablePreviewPane::TablePreviewPane(bool canRead, QWidget* parent)
    : QWidget(parent), lblPreview(Named(new QLabel(this), "lblPreview")),
      txtRaw(Named(new QLineEdit(this), "txtRaw")),
      cmdReadNow(
          Named(new QPushButton(ThemeIcon(QStringLiteral("read")), tr("Read now"), this), "cmdReadNow")),
      lblShown(Named(new QLabel(this), "lblShown")), lblProblem(Named(new QLabel(this), "lblPreviewProblem")),
      lblSteps(Named(new QLabel(this), "lblSteps")), m_bits(new FlagLineStrip(this))
{
    setObjectName(QStringLiteral("panePreview"));
    const Theme& theme = Theme::Current();
    lblPreview->setFont(theme.Font(Type::Strong));
    lblShown->setFont(theme.Font(Type::State));
    lblShown->setTextInteractionFlags(Qt::TextSelectableByMouse);
    lblProblem->setWordWrap(true);
    MakeSecondary(lblSteps);
    lblSteps->setWordWrap(true);
    txtRaw->setText(QStringLiteral("3712"));
    txtRaw->setAccessibleName(tr("Raw value"));
    txtRaw->setToolTip(tr("A raw value as the gauge would give it: decimal, or hexadecimal behind 0x.\n"
                          "The line beside it shows what the register view makes of it."));
    txtRaw->setMaximumWidth(fontMetrics().horizontalAdvance(QLatin1Char('0')) * 14);
    cmdReadNow->setEnabled(canRead);
    cmdReadNow->setToolTip(canRead ? tr("Reads the gauge now, once, with this row's style and command")
                                   : tr("There is no gauge to read: choose an adapter and a target first"));

    auto* label = new QLabel(tr("&Raw value"), this);
    label->setBuddy(txtRaw);
    auto* line = new QHBoxLayout;
    line->addWidget(lblPreview);
    line->addSpacing(12);
    line->addWidget(label);
    line->addWidget(txtRaw);
    line->addWidget(cmdReadNow);
    line->addSpacing(12);
    line->addWidget(lblShown);
    line->addStretch();
    auto* down = new QVBoxLayout(this);
    down->setContentsMargins(8, 4, 8, 6);
    down->setSpacing(4);
    down->addLayout(line);
    down->addWidget(m_bits);
    down->addWidget(lblProblem);
    down->addWidget(lblSteps);
    down->addStretch();

    connect(txtRaw, &QLineEdit::textEdited, this, [this] {
        m_origin.clear();
        m_problem.clear();
        Refresh();
    });
    connect(cmdReadNow, &QPushButton::clicked, this, &TablePreviewPane::ReadNow);
    connect(&Theme::Current(), &Theme::Changed, this, &TablePreviewPane::Refresh);
    Refresh();
}

void TablePreviewPane::Show(TableKind kind, const QStringList& cells, const QString& shownRow)
{
    if (kind != m_kind || cells.value(0) != m_cells.value(0)) { // what was read belongs to another row
        m_origin.clear();
        m_problem.clear();
    }
    m_kind = kind;
    m_cells = cells;
    m_shownRow = shownRow;
    Refresh();
}

void TablePreviewPane::SetRaw(RawValue raw, const QString& origin)
{
    txtRaw->setText(QString::number(raw));
    m_origin = origin;
    m_problem.clear();
    Refresh();
}

void TablePreviewPane::SetReadProblem(const QString& reason)
{
    m_problem = reason;
    Refresh();
}

void TablePreviewPane::SetReading(bool on) { cmdReadNow->setDisabled(on); }

void TablePreviewPane::SetCompact(bool on)
{
    m_compact = on;
    Refresh();
}

void TablePreviewPane::Refresh()
{
    const bool any = !m_cells.isEmpty() && m_kind != TableKind::Targets;
    setVisible(any);
    if (!any)
        return;
    const bool flags = m_kind == TableKind::Flags;
    const auto style = flags ? ReadStyle::SMBusWord : static_cast<ReadStyle>(m_cells[2].toShort());
    const TypedRaw typed = ParseRaw(txtRaw->text(), style);
    txtRaw->setProperty("refused", !typed.Raw);
    txtRaw->update();
    lblPreview->setText(
        lblPreview->fontMetrics().elidedText(ShownDescription(m_cells[0]), Qt::ElideRight, 200));
    QStringList steps;
    QString problem = m_problem.isEmpty() ? typed.Problem : m_problem;
    if (!m_origin.isEmpty())
        steps << m_origin;
    m_bits->setVisible(flags);
    if (flags) {
        m_bits->Show(PreviewFlag(m_cells, typed.Raw));
        lblShown->setText(
            typed.Raw ? QStringLiteral("%1").arg(*typed.Raw & 0xFFFF, 4, 16, QLatin1Char('0')).toUpper()
                      : QString());
        steps << m_shownRow;
    } else {
        const RegisterPreview preview = typed.Raw ? PreviewRegister(m_cells, *typed.Raw) : RegisterPreview{};
        lblShown->setText(
            (preview.Shown + QLatin1Char(' ') + (preview.Shown.isEmpty() ? QString() : preview.Unit))
                .trimmed());
        if (problem.isEmpty())
            problem = preview.Problem;
        steps << preview.Steps;
    }
    lblShown->setAccessibleName(tr("Shown as %1").arg(lblShown->text()));
    QPalette palette = this->palette();
    palette.setColor(QPalette::WindowText, ToColour(Theme::Current().Colours().Failed));
    lblProblem->setPalette(palette);
    lblProblem->setText(problem);
    lblProblem->setVisible(!problem.isEmpty());
    lblSteps->setText(steps.join(QStringLiteral("  \u00b7  ")));
    lblSteps->setVisible(!m_compact && !steps.isEmpty());
}
