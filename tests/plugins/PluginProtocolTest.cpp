#include "plugins/PluginProtocol.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

using PluginProtocol::Lines;
using PluginProtocol::Message;
using Kind = PluginProtocol::Message::Kind;

TEST(PluginProtocol, TellsWhatALineIs)
{
    const struct {
        const char* line;
        Kind kind;
        std::int64_t id;
        const char* name;
    } rows[] = {
        {R"({"hello":1,"token":"t"})", Kind::Hello, 0, "plugin"},
        {R"({"id":7,"call":"test"})", Kind::Call, 7, "test"},
        {R"({"id":7,"get":"Caption"})", Kind::Get, 7, "Caption"},
        {R"({"id":7,"set":"TargetInfo","value":"x"})", Kind::Set, 7, "TargetInfo"},
        {R"({"id":7,"result":null})", Kind::Result, 7, ""},
        {R"({"id":null,"error":"x"})", Kind::Error, 0, ""},
        {"", Kind::Bad, 0, ""},
        {"[1]", Kind::Bad, 0, ""},
        {R"({"id":7,"call":)", Kind::Bad, 0, ""},
        {R"({"call":"test"})", Kind::Bad, 0, ""},
        {R"({"id":-1,"call":"test"})", Kind::Bad, 0, ""},
        {R"({"id":1.5,"call":"test"})", Kind::Bad, 0, ""},
        {R"({"id":1e300,"call":"test"})", Kind::Bad, 0, ""},
        {R"({"id":7,"call":5})", Kind::Bad, 7, ""},
        {R"({"id":7,"call":"test","args":[1]})", Kind::Bad, 7, ""},
        {R"({"id":7})", Kind::Bad, 7, ""},
    };
    for (const auto& row : rows) {
        const Message message = PluginProtocol::Parse(row.line);
        EXPECT_EQ(message.What, row.kind) << row.line;
        EXPECT_EQ(message.Id, row.id) << row.line;
        EXPECT_EQ(message.Name, QString::fromLatin1(row.name)) << row.line;
        EXPECT_EQ(message.What == Kind::Bad, message.Text.size() > 1) << row.line;
    }
}

TEST(PluginProtocol, CutsLinesWhereverTheStreamIsCutAndStopsAtOneThatIsTooLong)
{
    for (qsizetype cut = 0; cut < 9; ++cut) {
        const QByteArray stream("ab\r\n\ncd\ne");
        Lines lines;
        EXPECT_TRUE(lines.Take(stream.left(cut)) && lines.Take(stream.mid(cut)));
        EXPECT_EQ(lines.Next(), "ab");
        EXPECT_EQ(lines.Next(), "");
        EXPECT_EQ(lines.Next(), "cd");
        EXPECT_EQ(lines.Next(), std::nullopt);
    }
    Lines lines;
    const QByteArray longest(PluginProtocol::kLongestLine - 1, 'x');
    EXPECT_TRUE(lines.Take(longest) && lines.Take("\n"));
    EXPECT_EQ(lines.Next(), longest);
    EXPECT_TRUE(lines.Take(longest));
    EXPECT_FALSE(lines.Take("xx"));
    EXPECT_FALSE(lines.Take("\n"));
}
