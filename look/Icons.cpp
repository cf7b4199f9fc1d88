#include "look/Icons.h"

#include "look/Theme.h"

#include <QIconEngine>
#include <QImageReader>
#include <QPainter>
#include <QPixmapCache>

#include <algorithm>

namespace {

const QString kOwn = QStringLiteral(":/icons/%1.svg");

QImage ReadIcon(const QString& file, int side)
{
    QImageReader reader(file);
    reader.setScaledSize({side, side});
    QImage image = reader.read();
    Q_ASSERT_X(!image.isNull() || !file.startsWith(QLatin1Char(':')), "IconPixmap",
               qPrintable(file + reader.errorString()));
    return image;
}

QColor InkColour(IconInk ink, QIcon::Mode mode)
{
    const SkinColours& colours = Theme::Current().Colours();
    if (mode == QIcon::Disabled)
        return ToColour(colours.TextDisabled);
    if (mode == QIcon::Selected)
        return ToColour(colours.TextHighlightFore);
    switch (ink) {
    case IconInk::Text:
        return ToColour(
            ReadableOn(colours.ShapedButton, colours.TextFore, colours.TextFore, colours.Background));
    case IconInk::Secondary:
        return ToColour(colours.TextSecondary);
    case IconInk::Failed:
        return ToColour(colours.Failed);
    case IconInk::Good:
        return ToColour(colours.Good);
    case IconInk::Caution:
        return ToColour(colours.Caution);
    case IconInk::Edited:
        return ToColour(colours.Edited);
    case IconInk::Changed:
        return ToColour(colours.ChangeHighlight);
    }
    return ToColour(colours.TextFore);
}

class ThemeIconEngine final : public QIconEngine {
public:
    ThemeIconEngine(const QString& name, IconInk ink) : m_name(name), m_ink(ink) { }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override
    {
        const int side = std::min(rect.width(), rect.height());
        QRect square(0, 0, side, side);
        square.moveCenter(rect.center());
        painter->drawPixmap(
            square.topLeft(),
            IconPixmap(m_name, side, InkColour(m_ink, mode), painter->device()->devicePixelRatio()));
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) override
    {
        // asked in device pixels; Qt sets the ratio itself
        return IconPixmap(m_name, std::min(size.width(), size.height()), InkColour(m_ink, mode), 1);
    }
    QIconEngine* clone() const override { return new ThemeIconEngine(m_name, m_ink); }

private:
    QString m_name;
    IconInk m_ink;
};

} // namespace

QPixmap IconPixmap(const QString& name, int size, const QColor& colour, qreal devicePixelRatio)
{
    const int side = qRound(size * devicePixelRatio);
    const QString key = QStringLiteral("icon/%1/%2/%3").arg(name).arg(side).arg(colour.rgba(), 0, 16);
    QPixmap pixmap;
    if (!QPixmapCache::find(key, &pixmap)) {
        QImage image = ReadIcon(name.endsWith(QLatin1String(".svg")) ? name : kOwn.arg(name), side);
        if (image.isNull())
            image = ReadIcon(kOwn.arg(QLatin1String("plugin")), side); // a file of somebody else's
        image = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
        QPainter painter(&image);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(image.rect(), colour);
        painter.end();
        pixmap = QPixmap::fromImage(image);
        QPixmapCache::insert(key, pixmap);
    }
    pixmap.setDevicePixelRatio(devicePixelRatio);
    return pixmap;
}

QIcon ThemeIcon(const QString& name, IconInk ink) { return QIcon(new ThemeIconEngine(name, ink)); }
