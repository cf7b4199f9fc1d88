#include "flashimage/clsSrecRW.h"
#include "tests/support/TestSupport.h"

#include <QBuffer>

#include <gtest/gtest.h>

#define Q QStringLiteral

TEST(clsSrecRW, ReadsACommentAndBothRegions)
{
    RecordedMessages messages;
    clsSrecRW rw(messages);
    clsSrecFlash image;
    QBuffer file;
    file.setData("S00600004844521B\r\ns1044000aa11\nS3060010000001E8\n");
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(rw.ReadRecords(file, image)) << rw.Problems().front().Text.toStdString();
    EXPECT_EQ(image.S0Comment, Q("HDR"));
    EXPECT_EQ(image.DFStart(), 0x4000U);
    EXPECT_EQ(image.PFStart(), 0x100000U);
}
