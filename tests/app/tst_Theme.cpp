#include "look/Icons.h"
#include "look/Theme.h"

#include <QApplication>
#include <QDirIterator>
#include <QLineEdit>

#include <gtest/gtest.h>

// A missing icon draws nothing and says nothing, so every one of the resource is drawn once.
TEST(Icons, AllDrawInTheColourTheyAreAskedFor)
{
    int count = 0;
    for (QDirIterator icons(QStringLiteral(":/icons")); icons.hasNext(); ++count) {
        icons.next();
        const QImage image = IconPixmap(icons.fileInfo().baseName(), 16, Qt::red, 2).toImage();
        ASSERT_EQ(image.size(), QSize(32, 32)) << qPrintable(icons.fileName());
        bool ink = false;
        for (int y = 0; y < 32; ++y)
            for (int x = 0; x < 32; ++x)
                ink = ink || image.pixelColor(x, y) == QColor(Qt::red);
        EXPECT_TRUE(ink) << qPrintable(icons.fileName());
    }
    EXPECT_EQ(count, 66);
}

TEST(Theme, IconsFollowASkinThatComesAfterThem)
{
    const QIcon icon = ThemeIcon(QStringLiteral("stop"));
    const auto darkest = [&icon](QIcon::Mode mode) {
        const QImage image = icon.pixmap(64, mode).toImage();
        QColor ink;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                if (image.pixelColor(x, y).alpha() == 255)
                    ink = image.pixelColor(x, y);
        return ink;
    };
    Skin skin = LightSkin();
    skin.TextFore = ColourNumber({0, 0, 120});
    Theme::Current().ApplySkinToAllForms(skin);
    EXPECT_EQ(darkest(QIcon::Normal), QColor(0, 0, 120));
    EXPECT_EQ(darkest(QIcon::Disabled), ToColour(Theme::Current().Colours().TextDisabled));
    Theme::Current().ApplySkinToAllForms(LightSkin());
    EXPECT_EQ(darkest(QIcon::Normal), ToColour(Theme::Current().Colours().TextFore));
}

// The style beneath draws field frames darker than a dark window, where they vanish.
TEST(TarnloStyle, FramesAFieldSoThatItShowsOnADarkWindow)
{
    Skin dark = LightSkin();
    dark.Background = ColourNumber({0x1B, 0x20, 0x24});
    dark.TextFore = ColourNumber({0xDC, 0xE2, 0xE6});
    Theme::Current().ApplySkinToAllForms(dark);
    QLineEdit field;
    field.resize(80, 24);
    const QColor frame = field.grab().toImage().pixelColor(40, 0);
    const auto channel = [](int value) { return static_cast<std::uint8_t>(value); };
    EXPECT_GE(Contrast({channel(frame.red()), channel(frame.green()), channel(frame.blue())},
                       Theme::Current().Colours().Background),
              3);
    Theme::Current().ApplySkinToAllForms(LightSkin());
}
