#pragma once

#include <QDialog>
#include <QUrl>

/// Something to read beside the work, in lines of a readable width.
class TextWindow final : public QDialog {
    Q_OBJECT
public:
    /// Plain text.
    TextWindow(const QString& title, const QString& text, QWidget* parent);
    /// A page of the documentation, an HTML file. Its links work; its colours are the skin's, not its own.
    TextWindow(const QString& title, const QUrl& page, QWidget* parent);

private:
    void LayOut(const QString& title, QWidget* reader);
};
