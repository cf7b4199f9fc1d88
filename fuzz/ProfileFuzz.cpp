#include "platform/ProfileFile.h"

#include <cstddef>
#include <cstdlib>

namespace {

void Require(bool holds)
{
    if (!holds)
        std::abort();
}

} // namespace

// Reading keeps every byte; every listed key is found; a key that was set is read back and, removed, is gone.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    ProfileFile file(bytes);
    Require(file.ToBytes() == bytes);
    for (const QString& section : file.SectionNames()) {
        for (const QString& line : file.SectionLines(section)) {
            const QString key = line.section(QLatin1Char('='), 0, 0);
            Require(file.String(section, key).size() <= 511);
            (void)file.Integer(section, key);
        }
    }
    const QString value = QStringLiteral("1 = [x]");
    const QStringList sections = file.SectionNames() << QStringLiteral("Sec");
    for (const QString& section : sections) {
        if (!ProfileFile::CanHold(section, u"key", value))
            continue;
        file.Set(section, u"key", value);
        Require(file.String(section, u"KEY") == value);
        Require(ProfileFile(file.ToBytes()).String(section, u"key") == value || !file.FitsEncoding());
        file.Unset(section, u"key");
        Require(!file.HasKey(section, u"key"));
        file.UnsetSection(section);
        Require(!file.SectionNames().contains(section, Qt::CaseInsensitive));
        break;
    }
    return 0;
}
