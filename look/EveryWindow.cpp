#include "look/EveryWindow.h"

#include <QCoreApplication>
#include <QDialog>
#include <QFileDialog>
#include <QFileIconProvider>
#include <QKeyEvent>
#include <QMimeDatabase>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QToolButton>

namespace {

constexpr int kTitleBar = 30;

class FilesByName final : public QFileIconProvider {
public:
    using QFileIconProvider::icon;
    QIcon icon(const QFileInfo& file) const override
    {
        return icon(file.isRoot() ? Drive : file.isDir() ? Folder : File);
    }
    QString type(const QFileInfo& file) const override
    {
        return file.isFile() ? QMimeDatabase().mimeTypeForFile(file, QMimeDatabase::MatchExtension).comment()
                             : QFileIconProvider::type(file); // of a folder, which is not opened
    }
};

bool IsEnter(const QEvent& event)
{
    const auto& key = static_cast<const QKeyEvent&>(event);
    return (key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter)
        && (key.modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
}

/// The button that a key to `watched` would press; null for other controls and in dialogs.
QWidget* ButtonOfAView(QObject* watched)
{
    if (!qobject_cast<QPushButton*>(watched) && !qobject_cast<QToolButton*>(watched))
        return nullptr;
    auto* button = static_cast<QWidget*>(watched);
    return qobject_cast<QDialog*>(button->window()) ? nullptr : button;
}

void PressSpace(QWidget* button)
{
    const QPointer<QWidget> alive(button); // what it does may take it away
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier);
    QCoreApplication::sendEvent(button, &press);
    if (!alive)
        return;
    QKeyEvent release(QEvent::KeyRelease, Qt::Key_Space, Qt::NoModifier);
    QCoreApplication::sendEvent(button, &release);
}

} // namespace

bool EveryWindow::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::ShortcutOverride: // before an Enter that the pane around the button has for itself
        if (IsEnter(*event) && ButtonOfAView(watched)) {
            event->accept();
            return true;
        }
        break;
    case QEvent::KeyPress:
        if (QWidget* button = IsEnter(*event) ? ButtonOfAView(watched) : nullptr) {
            if (!static_cast<QKeyEvent*>(event)->isAutoRepeat())
                PressSpace(button);
            return true;
        }
        break;
    case QEvent::Show:
        if (auto* files = qobject_cast<QFileDialog*>(watched)) {
            static FilesByName names; // dialogs only look at it
            files->setIconProvider(&names);
        }
        if (auto* dialog = qobject_cast<QDialog*>(watched))
            dialog->resize(dialog->size().boundedTo(dialog->screen()->availableSize() - QSize(0, kTitleBar)));
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}
