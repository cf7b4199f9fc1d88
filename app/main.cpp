#include "app/Program.h"
#include "app/QtMessages.h"
#include "app/frmMDI.h"
#include "app/frmSplash.h"
#include "comm/Wait.h"
#include "comm/frmErrMsg.h"
#include "look/Icons.h"
#include "look/Theme.h"
#include "platform/ErrorList.h"
#include "platform/ProgramFolder.h"
#include "platform/SystemTime.h"

#include <QApplication>

namespace {

/// Everything behind the program's own name, as one text.
QString CommandLine(int argc, char** argv)
{
    QStringList words;
    for (int i = 1; i < argc; ++i)
        words << QString::fromLocal8Bit(argv[i]);
    return words.join(QLatin1Char(' '));
}

} // namespace

int main(int argc, char** argv)
{
    const QString commandLine = CommandLine(argc, argv); // before Qt takes its own options out
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tarnlo"));
    QApplication::setApplicationVersion(QStringLiteral(TARNLO_VERSION));

    SystemTime time;
    Theme theme;
    QApplication::setWindowIcon(ThemeIcon(QStringLiteral("chip")));
    ErrorList errors(time);
    frmErrMsg errorWindow(errors);
    QtMessages messages([&errorWindow](const QString& text) { errorWindow.ShowMsgBox(text); });

    QString folderProblem;
    Program program(time, messages, errors, ProgramFolder({}, &folderProblem));
    program.SetFolderProblem(folderProblem);

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
