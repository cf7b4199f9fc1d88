#pragma once

#include <QDialog>

/// A text to read beside the work, in lines of a readable width.
class frmText final : public QDialog {
    Q_OBJECT
public:
    frmText(const QString& title, const QString& text, QWidget* parent = nullptr);
};
