#include "sbs/frmText.h"

#include "look/Controls.h"
#include "look/Theme.h"

#include <QDialogButtonBox>
#include <QPlainTextEdit>
#include <QScreen>
#include <QVBoxLayout>

frmText::frmText(const QString& title, const QString& text, QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmText"));
    setWindowTitle(title);
    setAttribute(Qt::WA_DeleteOnClose);
    auto* page = Named(new QPlainTextEdit(text, this), "txtText");
    page->setFont(Theme::Current().Font(Type::Mono)); // plain text may stand in columns
    page->setReadOnly(true);
    page->setAccessibleName(title);
    page->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    page->document()->setDocumentMargin(12);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(12, 12, 12, 12);
    column->addWidget(page);
    column->addWidget(buttons);
    const int letter = page->fontMetrics().averageCharWidth();
    resize(QSize(letter * 116 + 80, page->fontMetrics().lineSpacing() * 40)
               .boundedTo(screen()->availableSize() - QSize(16, 48)));
}
