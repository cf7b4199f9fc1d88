#pragma once

#include <QAbstractItemModel>
#include <QFileDialog>
#include <QLabel>
#include <QTableView>
#include <QToolButton>

#include <concepts>
#include <functional>

/// What the views of this room have in common.

/// Rows of 20 px, no grid, plain headers, selection by rows.
void DressTable(QTableView* table, const QString& accessibleName);
/// A word in the middle of a table while it has no rows.
QLabel* MakeEmptyLabel(QTableView* table, const char* name, const QString& text);
/// An icon with words beside it where given; the tooltip names the shortcut.
QToolButton* MakeButton(QWidget* parent, const char* name, const char* icon, const QString& text,
                        const QString& tip);
/// @param many  with %1 for the number
QString Counted(std::integral auto count, const QString& one, const QString& many)
{
    return count == 1 ? one : many.arg(count);
}
/// The chosen rows of a table, else all, below their captions; as CSV where the separator is a comma.
QString TableText(const QTableView* table, QChar separator);
/// Red for what was refused, quiet else.
void ShowNote(QLabel* label, const QString& text, bool refused);

/// Asks for a file without stopping the caller: a box that waits would hold up a scan further down the stack.
/// @param suffix  of a file to save; empty: a file to open
void AskForFile(QWidget* parent, const QString& title, const QString& start, const QString& filter,
                const QString& suffix, std::function<void(const QString& path)> chosen);

/// Does something as soon as no sequence further down the stack holds the bus; such a one cannot go on while
/// it is waited for. Gives up after five seconds.
/// @param owner  what is done goes with it
/// @param refused  the plain words on why it was not done
void WhenBusFree(QObject* owner, std::function<void()> act, std::function<void(const QString&)> refused);
