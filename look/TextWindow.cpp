#include "look/TextWindow.h"

#include "look/Controls.h"
#include "look/Theme.h"

#include <QDialogButtonBox>
#include <QPlainTextEdit>
#include <QScreen>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace {

constexpr int kMargin = 12;
constexpr int kLinesHigh = 40;

/// Shows a page without its own colours.
class PageReader final : public QTextBrowser {
public:
    using QTextBrowser::QTextBrowser;
    QVariant loadResource(int type, const QUrl& name) override
    {
        if (type == QTextDocument::StyleSheetResource)
            return QString();
        return QTextBrowser::loadResource(type, name);
    }
};

QString HtmlColour(Rgb colour) { return ToColour(colour).name(); }

} // namespace

TextWindow::TextWindow(const QString& title, const QString& text, QWidget* parent) : QDialog(parent)
{
    auto* reader = Named(new QPlainTextEdit(text, this), "txtText");
    reader->setFont(Theme::Current().Font(Type::Mono)); // plain text may stand in columns
    reader->setReadOnly(true);
    reader->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    reader->document()->setDocumentMargin(kMargin);
    LayOut(title, reader);
}

TextWindow::TextWindow(const QString& title, const QUrl& page, QWidget* parent) : QDialog(parent)
{
    auto* reader = Named(new PageReader(this), "txtText");
    const SkinColours& colours = Theme::Current().Colours();
    reader->document()->setDefaultStyleSheet(
        QStringLiteral("h1, h2 { color: %1; } a { color: %1; } th, td { padding: 2px 12px 2px 0; } "
                       "th { text-align: left; } li { margin-bottom: 4px; }")
            .arg(HtmlColour(colours.Link)));
    reader->document()->setDocumentMargin(2 * kMargin);
    reader->setOpenExternalLinks(true);
    reader->setSource(page);
    LayOut(title, reader);
}

void TextWindow::LayOut(const QString& title, QWidget* reader)
{
    setObjectName(QStringLiteral("frmText"));
    setWindowTitle(title);
    setAttribute(Qt::WA_DeleteOnClose);
    reader->setAccessibleName(title);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    column->addWidget(reader);
    column->addWidget(buttons);
    const QFontMetrics metrics(Theme::Current().Font(Type::Mono));
    resize(QSize(metrics.averageCharWidth() * 116 + 80, metrics.lineSpacing() * kLinesHigh)
               .boundedTo(screen()->availableSize() - QSize(16, 48)));
}
