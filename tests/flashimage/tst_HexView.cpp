#include "flashimage/HexView.h"

#include <QApplication>
#include <QClipboard>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

namespace {

/// 64 rows from 4000, of which the last 8 bytes are not the image's.
struct Hex : testing::Test {
    ImageDocument document;
    HexView view;

    void SetUp() override
    {
        clsSrecFlash image;
        Bytes bytes(1016);
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<std::uint8_t>(i);
        image.DF.Store(0x4000, bytes);
        document.Take(image, {}, QStringLiteral("a"));
        view.SetDocument(&document);
        view.SetRange(ImageArea::Data, 0x4000, 0x4400);
        view.resize(700, 300);
        view.show();
        view.setFocus();
    }
    void Type(const char* keys) { QTest::keyClicks(&view, QLatin1String(keys)); }
    int At(std::uint32_t address) { return document.ByteAt(ImageArea::Data, address).value_or(-1); }
};

TEST_F(Hex, TypesDigitsAndCharacters)
{
    QSignalSpy refused(&view, &HexView::Refused);
    Type("a5F");
    EXPECT_EQ(At(0x4000), 0xA5);
    EXPECT_EQ(At(0x4001), 0xF1) << "half a byte is shown at once";
    EXPECT_EQ(view.Cursor(), 0x4001U);
    QTest::keyClick(&view, Qt::Key_Right);
    Type("7"); // the high digit again, of the next byte
    EXPECT_EQ(At(0x4002), 0x72);
    Type("g");
    EXPECT_EQ(refused.count(), 1);
    QTest::keyClick(&view, Qt::Key_Tab);
    Type("Gg");
    EXPECT_EQ(At(0x4002), 'G');
    EXPECT_EQ(At(0x4003), 'g');
    EXPECT_EQ(document.EditedCount(), 4U);

    view.GoTo(0x43FC); // in the range, not in the image
    Type("1");
    EXPECT_EQ(refused.count(), 2);
    view.SetReadOnly(true);
    view.GoTo(0x4000);
    Type("1");
    EXPECT_EQ(At(0x4000), 0xA5);
    EXPECT_EQ(refused.count(), 3);
}

TEST_F(Hex, MovesSelectsAndCopies)
{
    struct Step {
        Qt::Key Key;
        Qt::KeyboardModifiers Modifiers;
        std::uint32_t Cursor;
    };
    for (const Step& step :
         {Step{Qt::Key_Left, {}, 0x4000}, Step{Qt::Key_Down, {}, 0x4010}, Step{Qt::Key_End, {}, 0x401F},
          Step{Qt::Key_Right, {}, 0x4020}, Step{Qt::Key_Up, {}, 0x4010}, Step{Qt::Key_Home, {}, 0x4010},
          Step{Qt::Key_End, Qt::ControlModifier, 0x43FF}, Step{Qt::Key_Down, {}, 0x43FF},
          Step{Qt::Key_Home, Qt::ControlModifier, 0x4000}, Step{Qt::Key_Right, Qt::ShiftModifier, 0x4001},
          Step{Qt::Key_Right, Qt::ShiftModifier, 0x4002}}) {
        QTest::keyClick(&view, step.Key, step.Modifiers);
        EXPECT_EQ(view.Cursor(), step.Cursor);
        EXPECT_TRUE(view.viewport()->rect().contains(view.CellOf(view.Cursor()))) << "it stays in sight";
    }
    QTest::keyClick(&view, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text(), QStringLiteral("00 01 02"));
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, view.CellOf(0x4039).center());
    EXPECT_EQ(view.Cursor(), 0x4039U);
    view.GoTo(0x9000);
    EXPECT_EQ(view.Cursor(), 0x4039U);
}

TEST_F(Hex, ShowsOnlyRowsThatDiffer)
{
    view.SetDifferences({{0x401F, 2}, {0x4200, 1}});
    view.ShowDifferencesOnly(true);
    EXPECT_EQ(view.RowOf(0x4010), 0);
    EXPECT_EQ(view.RowOf(0x4020), 1);
    EXPECT_EQ(view.RowOf(0x4205), 2);
    EXPECT_EQ(view.verticalScrollBar()->maximum(), 0);
    view.GoTo(0x4200);
    EXPECT_EQ(view.Cursor(), 0x4200U);
    view.ShowDifferencesOnly(false);
    EXPECT_EQ(view.RowOf(0x4200), 32);
}

} // namespace
