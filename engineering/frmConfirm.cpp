#include "engineering/frmConfirm.h"

#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace {

constexpr qsizetype kMostLines = 500;
constexpr int kMostShown = 12;
constexpr qsizetype kWidestLine = 76; // a line of a hexadecimal dump

} // namespace

void frmConfirm::Ask(QWidget* parent, Danger danger, const QString& question, const QStringList& lines,
                     const QString& verb, std::function<void()> act)
{
    if (Consent::OfThisRun().Given(danger))
        return act();
    auto* dialog = new frmConfirm(parent, danger, question, lines, verb);
    QObject::connect(dialog, &QDialog::accepted, parent, std::move(act));
    dialog->open();
}

frmConfirm::frmConfirm(QWidget* parent, Danger danger, const QString& question, const QStringList& lines,
                       const QString& verb)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("frmConfirm"));
    setWindowTitle(tr("Tarnlo - %1").arg(verb));
    setAttribute(Qt::WA_DeleteOnClose);
    auto* icon = new QLabel(this);
    icon->setPixmap(IconPixmap(QStringLiteral("warn"), 24, ToColour(Theme::Current().Colours().Caution),
                               devicePixelRatioF()));
    auto* text = Named(new QLabel(question, this), "lblConfirm");
    text->setWordWrap(true);
    auto* list = Named(new QPlainTextEdit(this), "txtConfirm");
    list->setReadOnly(true);
    list->setAccessibleName(tr("What will be sent"));
    list->setFont(Theme::Current().Font(Type::Mono));
    list->setLineWrapMode(QPlainTextEdit::NoWrap);
    QStringList shown = lines.mid(0, kMostLines);
    if (lines.size() > kMostLines)
        shown << tr("and %1 more").arg(lines.size() - kMostLines);
    list->setPlainText(shown.join(QLatin1Char('\n')));
    list->setTabChangesFocus(true);
    const int rows = std::clamp(static_cast<int>(shown.size()), 1, kMostShown);
    list->setFixedHeight(list->fontMetrics().lineSpacing() * rows + 2 * list->frameWidth()
                         + static_cast<int>(2 * list->document()->documentMargin()) + 4);
    qsizetype widest = 0;
    for (const QString& line : std::as_const(shown))
        widest = std::max(widest, std::min(line.size(), kWidestLine));
    list->setMinimumWidth(list->fontMetrics().horizontalAdvance(QString(widest, QLatin1Char('0')))
                          + list->verticalScrollBar()->sizeHint().width() + 2 * list->frameWidth()
                          + static_cast<int>(2 * list->document()->documentMargin()) + 4);
    list->setVisible(!lines.isEmpty());
    auto* again = Named(new QCheckBox(tr("&Do not ask again until Tarnlo ends"), this), "chkNotAgain");
    auto* cancel = Named(new QPushButton(tr("Cancel"), this), "cmdCancel");
    auto* does = Named(new QPushButton(verb, this), "cmdConfirm");
    cancel->setAutoDefault(false);
    does->setDefault(true);
    does->setFocus();
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(does, &QPushButton::clicked, this, [this, again, danger] {
        if (again->isChecked())
            Consent::OfThisRun().Give(danger);
        accept();
    });

    auto* top = new QHBoxLayout;
    top->setSpacing(8);
    top->addWidget(icon, 0, Qt::AlignTop);
    top->addWidget(text, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(again);
    buttons->addStretch();
    buttons->addWidget(cancel);
    buttons->addWidget(does);
    auto* down = new QVBoxLayout(this);
    down->setContentsMargins(12, 12, 12, 12);
    down->setSpacing(8);
    down->addLayout(top);
    down->addWidget(list);
    down->addLayout(buttons);
    setMinimumWidth(fontMetrics().averageCharWidth() * 70);
}
