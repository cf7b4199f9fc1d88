#include "engineering/ViewParts.h"

#include "comm/BusSequence.h"
#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"
#include "platform/CsvField.h"

#include <QHeaderView>
#include <QTimer>
#include <QVBoxLayout>

#include <utility>

namespace {

constexpr int kRowHeight = 20;
constexpr int kRetryMs = 20;
constexpr int kTries = 250; // 5 s

void TryWhenFree(QObject* owner, std::function<void()> act, std::function<void(const QString&)> refused,
                 int tries)
{
    if (!BusSequence::Running() && !ExclusiveAccess::HeldBelow())
        return act();
    if (tries <= 0)
        return refused(
            QObject::tr("Nothing was sent: another sequence holds the bus. Try again when it has ended."));
    QTimer::singleShot(kRetryMs, owner,
                       [owner, act = std::move(act), refused = std::move(refused), tries]() mutable {
                           TryWhenFree(owner, std::move(act), std::move(refused), tries - 1);
                       });
}

} // namespace

void DressTable(QTableView* table, const QString& accessibleName)
{
    table->setAccessibleName(accessibleName);
    table->setAlternatingRowColors(true);
    table->setShowGrid(false);
    table->setWordWrap(false);
    table->setTabKeyNavigation(false);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    table->horizontalHeader()->setHighlightSections(false);
    table->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    table->horizontalHeader()->setStretchLastSection(true);
    table->verticalHeader()->hide();
    table->verticalHeader()->setMinimumSectionSize(kRowHeight);
    table->verticalHeader()->setDefaultSectionSize(kRowHeight);
}

QLabel* MakeEmptyLabel(QTableView* table, const char* name, const QString& text)
{
    auto* label = Named(new QLabel(text, table), name);
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    label->setAttribute(Qt::WA_TransparentForMouseEvents);
    MakeSecondary(label);
    auto* inner = new QVBoxLayout(table->viewport());
    inner->addWidget(label);
    const auto show = [label, model = table->model()] { label->setVisible(model->rowCount() == 0); };
    QObject::connect(table->model(), &QAbstractItemModel::rowsInserted, label, show);
    QObject::connect(table->model(), &QAbstractItemModel::rowsRemoved, label, show);
    QObject::connect(table->model(), &QAbstractItemModel::modelReset, label, show);
    show();
    return label;
}

QToolButton* MakeButton(QWidget* parent, const char* name, const char* icon, const QString& text,
                        const QString& tip)
{
    auto* button = Named(new QToolButton(parent), name);
    if (icon)
        button->setIcon(ThemeIcon(QLatin1String(icon)));
    button->setText(text);
    button->setToolButtonStyle(text.isEmpty() ? Qt::ToolButtonIconOnly
                                   : icon     ? Qt::ToolButtonTextBesideIcon
                                              : Qt::ToolButtonTextOnly);
    button->setToolTip(tip);
    button->setAccessibleName(text.isEmpty() ? tip : text);
    button->setFocusPolicy(Qt::TabFocus);
    return button;
}

QString TableText(const QTableView* table, QChar separator)
{
    const QAbstractItemModel* model = table->model();
    const auto cell
        = [separator](const QString& text) { return separator == QLatin1Char(',') ? CsvField(text) : text; };
    QStringList captions;
    for (int column = 0; column < model->columnCount(); ++column)
        captions << cell(model->headerData(column, Qt::Horizontal).toString());
    QStringList lines{captions.join(separator)};
    const bool all = !table->selectionModel()->hasSelection();
    for (int row = 0; row < model->rowCount(); ++row) {
        if (!all && !table->selectionModel()->isRowSelected(row))
            continue;
        QStringList cells;
        for (int column = 0; column < model->columnCount(); ++column)
            cells << cell(model->index(row, column).data().toString());
        lines << cells.join(separator);
    }
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

void ShowNote(QLabel* label, const QString& text, bool refused)
{
    const SkinColours& colours = Theme::Current().Colours();
    QPalette palette = label->parentWidget()->palette();
    palette.setColor(QPalette::WindowText, ToColour(refused ? colours.Failed : colours.TextSecondary));
    label->setPalette(palette);
    label->setText(text);
}

void AskForFile(QWidget* parent, const QString& title, const QString& start, const QString& filter,
                const QString& suffix, std::function<void(const QString& path)> chosen)
{
    auto* dialog = new QFileDialog(parent, title, start, filter);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(suffix.isEmpty() ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
    dialog->setAcceptMode(suffix.isEmpty() ? QFileDialog::AcceptOpen : QFileDialog::AcceptSave);
    dialog->setDefaultSuffix(suffix);
    QObject::connect(dialog, &QFileDialog::fileSelected, parent, std::move(chosen));
    dialog->open();
}

void WhenBusFree(QObject* owner, std::function<void()> act, std::function<void(const QString&)> refused)
{
    TryWhenFree(owner, std::move(act), std::move(refused), kTries);
}
