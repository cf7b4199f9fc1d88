#include "flashimage/ImagePane.h"

#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QBoxLayout>

namespace {

constexpr int kIcon = 16;
constexpr int kHashEnds = 4; // digits shown at either end

} // namespace

ImagePane::ImagePane(const char* name, bool readOnly, QWidget* parent)
    : QFrame(parent), m_readOnly(readOnly), hexView(new HexView(this)), lblName(new QLabel(this)),
      lblHash(new QLabel(this)), lblPencil(new QLabel(this)), lblState(new QLabel(this))
{
    setObjectName(QLatin1String(name));
    setFrameShape(QFrame::StyledPanel);
    const QLatin1String which = QLatin1String(name).mid(4); // "First" of "paneFirst"
    hexView->setObjectName(QLatin1String("hex") + which);
    lblName->setObjectName(QLatin1String("lblName") + which);
    lblHash->setObjectName(QLatin1String("lblHash") + which);
    lblState->setObjectName(QLatin1String("lblState") + which);
    hexView->SetReadOnly(readOnly);
    hexView->SetDocument(&m_document);
    auto* icon = new QLabel(this);
    icon->setPixmap(ThemeIcon(QStringLiteral("image")).pixmap(kIcon, kIcon));
    lblPencil->setPixmap(ThemeIcon(QStringLiteral("edit"), IconInk::Edited).pixmap(kIcon, kIcon));
    lblName->setFont(Theme::Current().Font(Type::Strong));
    lblName->setMinimumWidth(1); // a long name must not widen the window
    MakeSecondary(lblHash);
    auto* head = new QWidget(this);
    head->setAutoFillBackground(true);
    head->setBackgroundRole(QPalette::ToolTipBase); // the fill of table headers
    auto* row = new QHBoxLayout(head);
    row->setContentsMargins(8, 3, 8, 3);
    row->setSpacing(8);
    row->addWidget(icon);
    row->addWidget(lblName);
    row->addWidget(lblHash);
    row->addStretch(1);
    row->addWidget(lblPencil);
    row->addWidget(lblState);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(head);
    column->addWidget(hexView, 1);
    setFocusProxy(hexView);
    connect(hexView, &HexView::Edited, this, &ImagePane::ShowHead);
}

void ImagePane::ShowHead()
{
    const QString& hash = m_document.Hash(hexView->Area());
    lblName->setText(m_document.Name());
    lblName->setToolTip(m_document.Path());
    lblHash->setText(tr("SHA-256 %1...%2").arg(hash.left(kHashEnds), hash.right(kHashEnds)));
    lblHash->setToolTip(tr("SHA-256 of this region as opened or saved:\n%1").arg(hash));
    const auto edited = m_document.EditedCount();
    lblPencil->setVisible(edited > 0);
    if (edited > 0)
        lblState->setText(edited == 1 ? tr("1 byte edited, not saved")
                                      : tr("%1 bytes edited, not saved").arg(edited));
    else if (const auto bad = m_document.BadLines(); bad > 0)
        lblState->setText(bad == 1 ? tr("1 line of the file was not taken")
                                   : tr("%1 lines of the file were not taken").arg(bad));
    else if (m_readOnly)
        lblState->setText(tr("read only"));
    else
        lblState->setText(m_document.Path().isEmpty() && !m_document.Empty() ? tr("not saved") : QString());
    lblState->setForegroundRole(edited > 0 ? QPalette::WindowText : QPalette::PlaceholderText);
}
