#include "flashimage/ImageDocument.h"

#include <gtest/gtest.h>

namespace {

constexpr ImageDocument::Place kPlace{ImageArea::Data, 0x4001};

TEST(ImageDocument, KnowsWhatWasEditedSinceItWasSaved)
{
    clsSrecFlash image;
    image.DF.Store(0x4000, Bytes{1, 2, 3});
    ImageDocument document;
    document.Take(image, {}, QStringLiteral("a"));
    document.SetByte(kPlace, 9);
    document.SetByte(kPlace, 8);
    document.SetByte({ImageArea::Data, 0x5000}, 1); // there is no such byte
    EXPECT_EQ(document.EditedCount(), 1U);
    EXPECT_EQ(document.Undo(), kPlace);
    EXPECT_EQ(document.ByteAt(ImageArea::Data, 0x4001), 9);
    EXPECT_TRUE(document.EditedAt(kPlace));
    document.Undo();
    EXPECT_EQ(document.EditedCount(), 0U);
    document.Redo();
    const QString before = document.Hash(ImageArea::Data);
    document.Saved(QStringLiteral("/b.srec"));
    EXPECT_NE(document.Hash(ImageArea::Data), before);
    EXPECT_EQ(document.EditedCount(), 0U);
    document.Undo(); // now it is the old value that is not saved
    EXPECT_TRUE(document.EditedAt(kPlace));
    document.SetByte(kPlace, 7);
    EXPECT_FALSE(document.CanRedo());
}

TEST(ImageDocument, FindsBytesAndText)
{
    const Bytes region{'a', 'b', 0x12, 0x34, 'a', 'b', 'a', 'b'};
    struct Case {
        const char* Text;
        std::size_t From;
        bool Forward;
        int At; // -1: nowhere
    };
    for (const Case& c :
         {Case{"1234", 0, true, 2}, Case{"\"ab\"", 0, true, 0}, Case{"\"ab\"", 1, true, 4},
          Case{"\"ab\"", 7, true, -1}, Case{"\"ab\"", 4, false, 0}, Case{"\"ab\"", 0, false, -1},
          Case{"\"ab\"", 8, false, 6}, Case{"\"ab\"", 6, false, 4}, Case{"12 34", 8, false, 2},
          Case{"\"aba\"", 8, false, 4}, Case{"ab", 0, true, -1}, Case{"zz", 0, true, -1},
          Case{"bab", 0, true, 5}}) {
        const auto found = FindBytes(region, SearchBytes(QString::fromLatin1(c.Text)), c.From, c.Forward);
        EXPECT_EQ(found ? static_cast<int>(*found) : -1, c.At) << c.Text << " from " << c.From;
    }
}

} // namespace
