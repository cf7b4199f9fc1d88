#pragma once

#include <QObject>

/// What every window of the program has from its start, views of plug-ins and Qt's own dialogs included;
/// installed once as an event filter of the application.
/// - Enter does what Space does on a push or tool button that has the keyboard. Dialogs keep Qt's own rule,
/// by which Enter there may also be that of the default button.
/// - No dialog is larger than the screen; Qt's own file dialog does not look.
/// - File dialogs know files by their names. Qt's own reads the beginning of each file in a folder, in the
/// thread of the windows: a scan stands still over a slow network folder, and for ever over one such as
/// /proc, whose files may never give an answer.
class EveryWindow final : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override;
};
