// Any bytes as a value of every type, and any text as what a person types with any formula and format: what
// is taken encodes, and whole numbers and strings come back as they went.

#include "dataflash/ItemText.h"
#include "dataflash/ValueEncoding.h"

#include <QStringList>

#include <array>
#include <cmath>
#include <cstdlib>

namespace {

struct Silent final : UserMessages {
    void Show(const QString&) override { std::abort(); } // every type here is known
    Answer Ask(const QString&, Answers) override { std::abort(); }
};

void Check(bool holds)
{
    if (!holds)
        std::abort();
}

void ThereAndBack(const Bytes& bytes, const QString& type)
{
    Silent messages;
    const std::optional<DataTypeForm> form = ParseDataType(type);
    const QString text = ByteToDataType(bytes, 0, type, messages);
    if (text.isEmpty()) // too few bytes, or an empty string
        return;
    Bytes again(bytes.size(), 0xEE);
    if (form->What == DataTypeForm::Kind::Float) {
        const double value = XemicsToIEEE({bytes[0], bytes[1], bytes[2], bytes[3]});
        const double back = XemicsToIEEE(IEEEToXemics(value));
        Check(value <= -0.5 || std::abs(back - value) <= std::abs(value) * 0x1p-22 + 1e-6);
        return;
    }
    Check(DataTypeToByte(again, 0, type, text, messages));
    Check(ByteToDataType(again, 0, type, messages) == text);
    if (form->IsInteger())
        Check(std::equal(bytes.begin(), bytes.begin() + form->Width, again.begin()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::array kTypes{"I1", "U1", "H1", "I2", "U2", "H2",  "I4",
                                "U4", "H4", "F4", "S1", "S5", "S256"};
    if (size == 0)
        return 0;
    const QString type = QString::fromLatin1(kTypes[data[0] % kTypes.size()]);
    ThereAndBack(Bytes(data + 1, data + size), type);

    const QStringList parts
        = QString::fromUtf8(reinterpret_cast<const char*>(data) + 1, static_cast<qsizetype>(size) - 1)
              .split(u'\n');
    DataItem item;
    item.DataType = type;
    item.ReadFormula = parts.value(1);
    item.WriteFormula = parts.value(2);
    item.DisplayFmt = parts.value(3);
    item.MinVal = parts.value(4);
    (void)CheckRange(item, parts.value(0));
    const ItemText native = ConvertDisplayNative(item, parts.value(0), TextDirection::ShownToNative);
    if (!native.Ok() || native.Text.isEmpty() || type.startsWith(u'S'))
        return 0;
    Check(NormalNative(item, native.Text).Text == native.Text);
    (void)ConvertDisplayNative(item, native.Text, TextDirection::NativeToShown);
    return 0;
}
