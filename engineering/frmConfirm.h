#pragma once

#include "engineering/Consent.h"

#include <QDialog>

#include <functional>

/// Shows what is about to be sent before it is, with the offer not to ask again in this run of the program.
/// It does not stop the caller, so it may open in the middle of a scan.
class frmConfirm final : public QDialog {
    Q_OBJECT
public:
    /// @param question  one or two short lines: what happens, and where
    /// @param lines  what will be sent, one below the other
    /// @param verb  on the button that does it
    /// @param act  called at once when the person does not want to be asked; not at all after a Cancel
    static void Ask(QWidget* parent, Danger danger, const QString& question, const QStringList& lines,
                    const QString& verb, std::function<void()> act);

private:
    frmConfirm(QWidget* parent, Danger danger, const QString& question, const QStringList& lines,
               const QString& verb);
};
