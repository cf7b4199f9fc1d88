#include "app/Program.h"
#include "app/QtMessages.h"
#include "app/frmMDI.h"
#include "app/frmSplash.h"
#include "comm/Wait.h"
#include "comm/frmErrMsg.h"
#include "look/EveryWindow.h"
#include "look/Icons.h"
#include "look/Theme.h"
#include "platform/ErrorList.h"
#include "platform/Interrupt.h"
#include "platform/ProgramFolder.h"
#include "platform/SystemTime.h"

#include <QApplication>

#include <exception>
#include <functional>

namespace {

/// Everything behind the program's own name, as one text.
QString CommandLine(int argc, char** argv)
{
    QStringList words;
    for (int i = 1; i < argc; ++i)
        words << QString::fromLocal8Bit(argv[i]);
    return words.join(QLatin1Char(' '));
}

/// A plug-in that throws in a handler of its own events (a timer, a click) must not end the program: what
/// comes out of a handler is stopped here, before it reaches the event loop, which cannot carry it.
class Application final : public QApplication {
public:
    using QApplication::QApplication;
    std::function<void(const QString& what)> OnThrown;

    bool notify(QObject* receiver, QEvent* event) override
    {
        try {
            return QApplication::notify(receiver, event);
        } catch (const std::exception& error) {
            OnThrown(QString::fromLocal8Bit(error.what()));
        } catch (...) {
            OnThrown(QStringLiteral("something that is no std::exception"));
        }
        return true;
    }
};

} // namespace

int main(int argc, char** argv)
{
    const QString commandLine = CommandLine(argc, argv); // before Qt takes its own options out
    Application application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tarnlo"));
    QApplication::setApplicationVersion(QStringLiteral(TARNLO_VERSION));

    Interrupt::Install();
    SystemTime time;
    Theme theme;
    EveryWindow everyWindow;
    application.installEventFilter(&everyWindow);
    QApplication::setWindowIcon(ThemeIcon(QStringLiteral("chip")));
    ErrorList errors(time);
    frmErrMsg errorWindow(errors);
    QtMessages messages([&errorWindow](const QString& text) { errorWindow.ShowMsgBox(text); });

    QString folderProblem;
    Program program(time, messages, errors, ProgramFolder({}, &folderProblem));
    program.SetFolderProblem(folderProblem);
    application.OnThrown = [&messages, &program](const QString& what) {
        program.Access().TakeBack();
        messages.Report(QStringLiteral("A plug-in threw while it handled an event: %1").arg(what));
    };

    frmSplash splash;
    splash.show();
    Wait(time, 1.5F);
    frmMDI window(program, messages, errorWindow, theme, commandLine);
    window.show();
    window.Load();
    Wait(time, 0.5F);
    splash.close();
    // closed while it was loading: no event would end the loop any more
    return window.isVisible() ? QApplication::exec() : 0;
}
