#include "flashimage/clsSrecRW.h"
#include "platform/WholeFile.h"
#include "tests/support/TestSupport.h"

#include <QBuffer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <random>

#define Q QStringLiteral

namespace {

bool LongTests() { return !qEnvironmentVariableIsEmpty("TARNLO_LONG_TESTS"); }

/// A record with its checksum, from its type, count, address and data.
QByteArray L(const char* record)
{
    const QByteArray bytes = QByteArray::fromHex(record + 2);
    int sum = 0;
    for (const char byte : bytes)
        sum += static_cast<unsigned char>(byte);
    return QByteArray(record) + QByteArray(1, static_cast<char>(255 - sum % 256)).toHex() + '\n';
}

/// "4000:AABB", or nothing for an empty region.
QString Text(const clsSrecFlash::Region& region)
{
    if (region.Empty())
        return {};
    return QString::number(region.Start(), 16).toUpper() + QLatin1Char(':') + HexText(region.View());
}

/// Hands out a few bytes at a time, as a pipe or a slow disk may.
class Trickle final : public QIODevice {
public:
    Trickle(QByteArray bytes, qint64 piece) : m_bytes(std::move(bytes)), m_piece(piece)
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }

private:
    qint64 readData(char* data, qint64 size) override
    {
        const QByteArray part = m_bytes.mid(m_at, std::min(size, m_piece));
        std::copy(part.begin(), part.end(), data);
        m_at += part.size();
        return part.size();
    }
    qint64 writeData(const char* /*data*/, qint64 /*size*/) override { return -1; }
    QByteArray m_bytes;
    qint64 m_piece;
    qsizetype m_at = 0;
};

struct Reading {
    explicit Reading(const QByteArray& bytes, qint64 piece = 1 << 20)
    {
        Trickle device(bytes, piece);
        rw.ReadRecords(device, image);
    }
    QString Problems() const
    {
        QStringList texts;
        for (const SrecProblem& problem : rw.Problems())
            texts << QString::number(problem.Line) + QLatin1Char(':') + problem.Status;
        return texts.join(QLatin1Char(' '));
    }
    RecordedMessages messages;
    clsSrecRW rw{messages};
    clsSrecFlash image;
};

QByteArray Written(const clsSrecFlash& image)
{
    RecordedMessages messages;
    clsSrecRW rw(messages);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    EXPECT_EQ(rw.WriteRecords(buffer, image), QString());
    return buffer.data();
}

struct FileCase {
    const char* name;
    QByteArray file;
    const char* problems = ""; ///< "line:status line:status"
    QByteArray df = {};
    const char* pf = "";
    const char* comment = "";
};
class Files : public testing::TestWithParam<FileCase> { };

} // namespace

TEST_P(Files, GiveTheirGoodLinesAndNameTheBadOnes)
{
    for (const qint64 piece : {1, 7, 1 << 20}) {
        const Reading read(GetParam().file, piece);
        EXPECT_EQ(read.Problems(), QLatin1String(GetParam().problems));
        EXPECT_EQ(Text(read.image.DF), QString::fromLatin1(GetParam().df));
        EXPECT_EQ(Text(read.image.PF), QLatin1String(GetParam().pf));
        EXPECT_EQ(read.image.S0Comment, QString::fromUtf8(GetParam().comment));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Good, Files,
    testing::Values(
        FileCase{"Empty", ""}, FileCase{"Comment", "S00600004844521B\n", "", "", "", "HDR"},
        FileCase{"LastCommentCounts", L("S00400005A") + L("S00500004180"), "", "", "", "A€"},
        FileCase{"LowerCase", L("s1044000ab").toLower(), "", "4000:AB"},
        FileCase{"ThreeForms", L("S104400001") + L("S205004001AA") + L("S30600004002CD"), "", "4000:01AACD"},
        FileCase{"Border", L("S2050FFFFFAA") + L("S205100000BB"), "", "FFFFF:AA", "100000:BB"},
        FileCase{"OverTheBorder", L("S2060FFFFFAABB"), "", "FFFFF:AABB"},
        FileCase{"DescendingWithGap", L("S1044003AA") + L("S10540000102"), "", "4000:0102FFAA"},
        FileCase{"LaterRecordWins", L("S1054000AABB") + L("S1044001CC"), "", "4000:AACC"},
        FileCase{"LastAddress", L("S306FFFFFFFFAA"), "", "", "FFFFFFFF:AA"},
        FileCase{"LongestRecord", L("S17F0000" + QByteArray(248, '7')), "", "0:" + QByteArray(248, '7')},
        FileCase{"NoDataNoRegion", L("S1034000") + L("S104500001"), "", "5000:01"},
        FileCase{"CountRecords", L("S104000001") + L("S5030001") + L("S104000102") + L("S604000002"), "",
                 "0:0102"},
        FileCase{"EndRecords", L("S9030000") + L("S804000000") + L("S70500000000") + L("S701")},
        FileCase{"LoneCarriageReturns", L("S104000001").replace('\n', '\r') + L("S104000102").trimmed(), "",
                 "0:0102"},
        FileCase{"BothLineEnds", L("S104000001").replace("\n", "\r\n") + L("S104000102"), "", "0:0102"},
        FileCase{"Remark", L("S104000001").trimmed() + " ; S1\n", "", "0:01"},
        FileCase{"TextBehindLongerThanIsKept",
                 L("S104000001").trimmed() + QByteArray(5'000, 'x') + '\n' + L("S104000102"), "", "0:0102"}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Bad, Files,
    testing::Values(
        FileCase{"NoRecords", "\n \nT1\n", "1:1 2:1 3:1"},
        FileCase{"ByteOrderMark", "\xEF\xBB\xBF" + L("S104000001") + L("S104000102"), "1:1", "1:02"},
        FileCase{"NulBytes", QByteArray(3, '\0') + '\n' + L("S104000001"), "1:1", "0:01"},
        FileCase{"CheckSum", "S1044000AB12\n" + L("S104000102"), "1:2", "1:02"},
        FileCase{"NoDigitInData", "S1044000G012\n", "1:2"}, FileCase{"NoDigitInCount", "S1ZZ4000\n", "1:2"},
        FileCase{"NoDigitInCheckSum", "S1044000AA1x\n", "1:2"}, FileCase{"CountOfNothing", "S100FF\n", "1:2"},
        FileCase{"Cut", "S\nS1\nS10\nS1044000AA1\nS1044000AA", "1:3 2:3 3:3 4:3 5:3"},
        FileCase{"ShorterThanItsAddress", L("S1020A") + L("S2031122") + L("S30400000A") + L("S001"),
                 "1:3 2:3 3:3 4:3"},
        FileCase{"Overflow", L("S1800000" + QByteArray(250, '0')) + "S1FF\n" + L("S104000001"),
                 "1:overflow 2:overflow", "0:01"},
        FileCase{"UnknownTypes", L("S4030000") + L("SA030000"), "1:223 2:223"},
        FileCase{"PastTheLastAddress", L("S307FFFFFFFFAABB"), "1:address"},
        FileCase{"FourGiBApart", L("S30600100000AA") + L("S306FFFFFFFFBB"), "2:fill", "", "100000:AA"},
        FileCase{"FillBelow", L("S306FFFFFFFFBB") + L("S30600100000AA"), "2:fill", "", "FFFFFFFF:BB"},
        FileCase{"WrongCounts", L("S104000001") + L("S5030002") + L("S604010001") + L("S501"),
                 "2:225 3:225 4:225", "0:01"},
        FileCase{"BadRecordsWereSentToo", "S104000001FF\n" + L("S104000102") + L("S5030002"), "1:2", "1:02"},
        FileCase{"DataBehindTheEnd", L("S9030000") + L("S104000001") + L("S5030001"), "2:after end", "0:01"},
        FileCase{"NoLineEnds", L("S104000001").trimmed() + L("S104000102"), "1:joined", "0:01"}),
    [](const auto& row) { return row.param.name; });

TEST(clsSrecRW, LineEndsSurviveTheBordersOfBlocks)
{
    // lines of odd lengths, so that every kind of cut is there; a record count proves that none was lost
    for (const char* const lineEnd : {"\n", "\r", "\r\n"}) {
        QByteArray file;
        for (int record = 0; record < 30'000; ++record)
            file += L(("S1" + QByteArray::number(4 + record % 9, 16).rightJustified(2, '0') + "0000"
                       + QByteArray(2 + record % 9 * 2, '5'))
                          .constData())
                        .replace("\n", lineEnd);
        file += L("S5037530").replace("\n", lineEnd);
        const Reading read(file);
        EXPECT_EQ(read.Problems(), QString()) << QByteArray(lineEnd).toHex().constData();
        EXPECT_EQ(read.image.DFSize(), 9U);
    }
}

TEST(clsSrecRW, KeepsTheFirstProblemsAndCountsAll)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(Q("a.srec"));
    ASSERT_EQ(SaveWhole(path, L("S104000001") + QByteArray(25'000, '\n')), QString());
    Reading read("");
    EXPECT_FALSE(read.rw.ReadSrec(path, read.image));
    EXPECT_EQ(read.rw.Problems().size(), clsSrecRW::kKeptProblems);
    EXPECT_EQ(read.rw.BadLines(), 25'000);
    ASSERT_EQ(read.messages.texts.size(), 1);
    EXPECT_TRUE(read.messages.texts[0].startsWith(Q("Srec Parse error = 1\n") + path + Q(", line 2: ")));
    EXPECT_TRUE(read.messages.texts[0].contains(Q("25000")));
}

TEST(clsSrecRW, ReadsLinesOfAnyLengthWithoutKeepingThem)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(Q("a.srec")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    const int pieces = LongTests() ? 1600 : 100; // of 64 KiB
    for (int piece = 0; piece < pieces; ++piece)
        file.write(QByteArray(1 << 16, piece == 0 ? 'S' : '0'));
    file.write("\n" + L("S104000001"));
    file.close();
    Reading read("");
    EXPECT_FALSE(read.rw.ReadSrec(file.fileName(), read.image));
    EXPECT_EQ(read.Problems(), Q("1:2"));
    EXPECT_EQ(Text(read.image.DF), Q("0:01"));
}

TEST(clsSrecRW, RefusesFilesThatHoldNoImageAndLeavesTheOneInHand)
{
    const QTemporaryDir folder;
    const QString enciphered = folder.filePath(Q("a.srec"));
    ASSERT_EQ(SaveWhole(enciphered, "VxENCR" + L("S104000001")), QString());
    for (const auto& [path, status] :
         {std::pair{enciphered, Q("0:enciphered")}, std::pair{folder.filePath(Q("none.srec")), Q("0:221")},
          std::pair{folder.path(), Q("0:221")}}) {
        Reading read(L("S1044000AA"));
        EXPECT_FALSE(read.rw.ReadSrec(path, read.image));
        EXPECT_EQ(read.Problems(), status);
        ASSERT_EQ(read.messages.texts.size(), 1);
        EXPECT_TRUE(read.messages.texts[0].startsWith(path));
        EXPECT_EQ(Text(read.image.DF), Q("4000:AA"));

        // and none is written under that name
        const QString senc = folder.filePath(Q("b.senc"));
        EXPECT_TRUE(read.rw.WriteSrec(senc, read.image).startsWith(senc));
        EXPECT_FALSE(QFile::exists(senc));
    }
}

TEST(clsSrecRW, StopsWhenAskedAndKeepsTheOldFile)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(Q("a.srec"));
    Reading read("");
    read.image.PF.Store(0x100000, Bytes(500'000, 7));
    ASSERT_EQ(read.rw.WriteSrec(path, read.image), QString());
    const QByteArray before = ReadWhole(path).bytes;

    std::int64_t asked = 0;
    read.rw.SetProgress([&](std::int64_t done, std::int64_t of) {
        EXPECT_TRUE(done > 0 && done <= of) << done;
        return ++asked % 2 != 0;
    });
    read.image.PF.Store(0x100000, Bytes{8});
    EXPECT_TRUE(read.rw.WriteSrec(path, read.image).startsWith(path));
    EXPECT_EQ(ReadWhole(path).bytes, before);
    EXPECT_EQ(asked, 2);

    clsSrecFlash part;
    EXPECT_FALSE(read.rw.ReadSrec(path, part));
    EXPECT_EQ(read.Problems(), Q("0:cancelled"));
    EXPECT_TRUE(part.PFSize() > 0 && part.PFSize() < 500'000) << part.PFSize();
    EXPECT_TRUE(read.messages.texts.isEmpty());
}

TEST(clsSrecRW, RefusesToWriteWhatWouldNotBeReadBack)
{
    clsSrecFlash longComment, strangeComment, tooFar, belowBorder;
    longComment.S0Comment = QString(125, QLatin1Char('x'));
    strangeComment.S0Comment = Q("Ω");
    tooFar.DF.Store(0xFFFFF, Bytes(123));
    belowBorder.PF.Store(0xFFFFF, Bytes(1));
    RecordedMessages messages;
    clsSrecRW rw(messages);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    for (const clsSrecFlash* image : {&longComment, &strangeComment, &tooFar, &belowBorder})
        EXPECT_FALSE(rw.WriteRecords(buffer, *image).isEmpty());
    EXPECT_TRUE(buffer.data().isEmpty());
}

TEST(clsSrecRW, BuildsRecordsWithEightDigitsOnly)
{
    Reading read(L("S1044000AA"));
    QByteArray lines;
    const auto take = [&](QByteArrayView more) {
        lines += more;
        return true;
    };
    EXPECT_TRUE(read.rw.ClassDFToArray(read.image, SrecForm::FourDigits, take));
    EXPECT_TRUE(read.rw.ClassPFToArray(read.image, SrecForm::SixDigits, take));
    EXPECT_EQ(lines, "");
    EXPECT_EQ(read.messages.texts,
              (QStringList{Q("Currently not coded/implemented!"), Q("Currently not coded/implemented!")}));
    EXPECT_TRUE(read.rw.ClassDFToArray(read.image, SrecForm::EightDigits, take));
    EXPECT_EQ(lines, "S30600004000AA0F\n");
}

TEST(clsSrecRW, WritesTheWholeFormInOrder)
{
    Reading read(L("S205100000BB") + L("S0040000E9") + L("S1044000AA"));
    EXPECT_EQ(Written(read.image), "S0040000E912\nS30600004000AA0F\nS30600100000BB2E\nS70500000000FA\n");
}

TEST(clsSrecRW, WhatIsWrittenReadsBackAndIsWrittenTheSame)
{
    std::mt19937 random(20260105);
    const auto below = [&](std::uint32_t end) { return static_cast<std::uint32_t>(random() % end); };
    const auto bytes = [&](std::uint32_t most) {
        Bytes made(below(most));
        std::generate(made.begin(), made.end(), [&] { return static_cast<std::uint8_t>(random()); });
        return made;
    };
    const int images = LongTests() ? 1000 : 60;
    for (int round = 0; round < images; ++round) {
        clsSrecFlash image;
        for (auto length = below(125); length > 0; --length)
            image.S0Comment += QChar(static_cast<char16_t>(0xA0 + below(0x60)));
        const Bytes data = bytes(3000);
        const Bytes program = bytes(20'000);
        // every third one reaches over the border, or ends with the last address
        image.DF.Store(round % 3 != 0 || data.size() < 200
                           ? below(0xF0000)
                           : static_cast<std::uint32_t>(0x100000 + below(122) - data.size()),
                       data);
        image.PF.Store(round % 3 != 1 ? 0x100000 + below(0xF0000000)
                                      : static_cast<std::uint32_t>((1ULL << 32) - program.size()),
                       program);
        const QByteArray written = Written(image);
        Reading read(written);
        ASSERT_EQ(read.Problems(), QString()) << round;
        ASSERT_EQ(Text(read.image.DF), Text(image.DF)) << round;
        ASSERT_EQ(Text(read.image.PF), Text(image.PF)) << round;
        ASSERT_EQ(read.image.S0Comment, image.S0Comment) << round;
        ASSERT_EQ(Written(read.image), written) << round;
    }
}

TEST(clsSrecRW, ExchangesImagesWithOtherTools)
{
    const QTemporaryDir folder;
    const auto path = [&](const char* name) { return folder.filePath(QLatin1String(name)); };
    const auto run = [&](const char* line) {
        QStringList words = QString::fromLatin1(line).split(QLatin1Char(' '));
        QProcess process;
        process.setWorkingDirectory(folder.path());
        process.start(words.takeFirst(), words);
        ASSERT_TRUE(process.waitForFinished() && process.exitCode() == 0)
            << line << ": " << process.readAllStandardError().constData();
    };
    QByteArray payload;
    std::mt19937 random(7);
    for (int byte = 0; byte < 70'001; ++byte)
        payload += static_cast<char>(random());
    ASSERT_EQ(SaveWhole(path("p.bin"), payload), QString());

    run("srec_cat p.bin -binary -offset 0x0FFF00 -o cat2.srec");
    run("srec_cat p.bin -binary -offset 0xF0000000 -o cat3.srec -data-only");
    run("objcopy -I binary -O srec --change-addresses 0x0FFF00 p.bin copy2.srec");
    run("objcopy -I binary -O srec --srec-forceS3 --srec-len=60 --change-addresses 0xF0000000 p.bin "
        "copy3.srec");
    for (const char* const name : {"cat2.srec", "cat3.srec", "copy2.srec", "copy3.srec"}) {
        Reading read("");
        EXPECT_TRUE(read.rw.ReadSrec(path(name), read.image))
            << name << read.messages.texts.join(Q("; ")).toStdString();
        const auto [df, pf] = std::pair{read.image.DF.View(), read.image.PF.View()};
        QByteArray bytes(reinterpret_cast<const char*>(df.data()), static_cast<qsizetype>(df.size()));
        bytes.append(reinterpret_cast<const char*>(pf.data()), static_cast<qsizetype>(pf.size()));
        EXPECT_TRUE(bytes == payload) << name;

        ASSERT_EQ(read.rw.WriteSrec(path("ours.srec"), read.image), QString());
        run("srec_cat ours.srec -offset - -minimum-addr ours.srec -o back.bin -binary");
        EXPECT_TRUE(ReadWhole(path("back.bin")).bytes == payload) << name;
        run("objcopy -I srec -O binary ours.srec back.bin");
        EXPECT_TRUE(ReadWhole(path("back.bin")).bytes == payload) << name;
    }
}
