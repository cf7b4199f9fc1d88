#include "look/SkinColours.h"
#include "look/SkinEditor.h"
#include "tests/support/TestSupport.h"

#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

namespace {

class SkinFolder {
public:
    explicit SkinFolder(const QByteArray& skins, const QByteArray& settings = {})
    {
        state.ProgramFolder = m_folder.path();
        state.ProgramSettingsFile = Put(QStringLiteral("tarnlo.ini"), settings);
        skinFile = Put(QStringLiteral("DefSkin.ini"), skins);
    }
    QString skinFile;
    StartupState state;
    ProfileStore profiles;

private:
    QString Put(const QString& name, const QByteArray& bytes)
    {
        QFile file(m_folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    }
    QTemporaryDir m_folder;
};

Skin Shipped(const QString& name)
{
    ProfileStore profiles;
    return LoadSkinColours(profiles, QStringLiteral(TARNLO_SOURCE_DIR "/targets/DefSkin.ini"), name);
}

QString Hex(const Skin& skin, const char* key)
{
    return RgbText(SkinColour(skin, *std::ranges::find_if(kSkinKeys, [key](const SkinKey& k) {
                                  return std::string(k.name) == key;
                              })));
}

} // namespace

struct LoadCase {
    const char* name;
    QByteArray file;
    const char* key;
    const char* colour;
};

class LoadSkin : public testing::TestWithParam<LoadCase> { };

TEST_P(LoadSkin, ReadsTheKeyAndLeavesTheOtherElevenAlone)
{
    SkinFolder folder(GetParam().file);
    const Skin skin = LoadSkinColours(folder.profiles, folder.skinFile, QStringLiteral("My"));
    EXPECT_EQ(Hex(skin, GetParam().key), QLatin1String(GetParam().colour));
    for (const SkinKey& key : kSkinKeys) {
        if (std::string(key.name) != GetParam().key) {
            EXPECT_EQ(skin.*key.value, DefaultSkin().*key.value) << key.name;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Files, LoadSkin,
    testing::Values(LoadCase{"Empty", "", "ChangeHighlight", "#ff0000"},
                    LoadCase{"OtherSkin", "[Other]\nBitHigh=1\n", "BitHigh", "#ff8080"},
                    LoadCase{"RedIsTheLowByte", "[My]\nBitHigh=66051\n", "BitHigh", "#030201"},
                    LoadCase{"DefaultBitLow", "", "BitLow", "#00bf7f"},
                    LoadCase{"DefaultBitUnknown", "", "BitUnknown", "#cfcfcf"},
                    LoadCase{"DefaultShadow", "", "ToolBackground", "#9f9f9f"},
                    LoadCase{"SystemColour", "[my]\ntextfore=-2147483635\n", "TextFore", "#308cc6"},
                    // 0x8000002A: a system colour that this system does not have
                    LoadCase{"StrangeSystemColour", "[My]\nTextFore=-2147483606\n", "TextFore", "#000000"}),
    [](const auto& row) { return row.param.name; });

TEST(DefaultSkin, HasTheNumbersThatFilesAndPlugInsMayRelyOn)
{
    std::vector<std::int32_t> numbers;
    for (const SkinKey& key : kSkinKeys)
        numbers.push_back(DefaultSkin().*key.value);
    const auto system = [](std::uint32_t n) { return static_cast<std::int32_t>(0x80000000U + n); };
    EXPECT_THAT(numbers,
                testing::ElementsAre(system(16), 8, 1, system(13), system(5), system(8), system(13),
                                     system(15), 255, 8421631, 8371968, 13619151));
}

TEST(ShippedSkins, DeriveTheColoursThatWereChosenByContrast)
{
    struct Derived {
        const char* name;
        Rgb SkinColours::*colour;
        const char* light;
        const char* dark;
    };
    const Derived table[]{
        {"Base", &SkinColours::Base, "#fcfdfd", "#171b1e"},
        {"AlternateBase", &SkinColours::AlternateBase, "#f5f6f7", "#1d2124"},
        {"HeaderFill", &SkinColours::HeaderFill, "#ecf0f2", "#1f2429"},
        {"Line", &SkinColours::Line, "#d2d5d7", "#3a3f43"},
        {"Outline", &SkinColours::Outline, "#7c8287", "#858b8f"},
        {"TextSecondary", &SkinColours::TextSecondary, "#5b6268", "#a2a8ac"},
        {"TextDisabled", &SkinColours::TextDisabled, "#898f93", "#7a7f83"},
        {"ChangeTint", &SkinColours::ChangeTint, "#efe4d7", "#383025"},
        {"EditTint", &SkinColours::EditTint, "#e5e2f3", "#2e2e3e"},
        {"FailTint", &SkinColours::FailTint, "#f3e3e2", "#33292a"},
        {"Failed", &SkinColours::Failed, "#b3261e", "#ff8d82"},
        {"Link", &SkinColours::Link, "#14657a", "#89b9c6"},
    };
    const SkinColours light = DeriveColours(Shipped(QStringLiteral("Default")));
    const SkinColours dark = DeriveColours(Shipped(QStringLiteral("Dark")));
    EXPECT_FALSE(light.dark);
    EXPECT_TRUE(dark.dark);
    for (const Derived& row : table) {
        EXPECT_EQ(RgbText(light.*row.colour), QLatin1String(row.light)) << row.name;
        EXPECT_EQ(RgbText(dark.*row.colour), QLatin1String(row.dark)) << row.name;
    }
}

TEST(ShippedSkins, AreReadableAndOneOfThemIsBuiltIn)
{
    EXPECT_EQ(Shipped(QStringLiteral("Default")), LightSkin());
    EXPECT_EQ(Shipped(QStringLiteral("Plain")), DefaultSkin());
    for (const char* name : {"Default", "Dark"}) {
        for (const SkinKey& key : kSkinKeys) {
            if (key.colour) {
                EXPECT_TRUE(CheckContrast(Shipped(QLatin1String(name)), key).Ok()) << name << ' ' << key.name;
            }
        }
    }
    // two figures of the published table, which pin the formula itself
    EXPECT_NEAR(CheckContrast(LightSkin(), kSkinKeys[3]).ratio, 6.5, .05);
    EXPECT_NEAR(CheckContrast(Shipped(QStringLiteral("Dark")), kSkinKeys[9]).ratio, 4.6, .05);
}

TEST(DeriveColours, NeverDrawsTextThatCannotBeRead)
{
    Skin hopeless = DefaultSkin();
    for (const SkinKey& key : kSkinKeys)
        if (key.colour)
            hopeless.*key.value = ColourNumber({0x77, 0x77, 0x77});
    for (const Skin& skin : {DefaultSkin(), hopeless}) {
        const SkinColours c = DeriveColours(skin);
        EXPECT_GE(Contrast(c.TextHighlightFore, c.SelectionHighlight), 3);
        EXPECT_GE(Contrast(c.TextFore, c.Background), 3);
        EXPECT_GE(Contrast(c.BitHighText, c.BitHigh), 3);
    }
}

TEST(SkinEditor, SavesAChangeIntoItsSectionAndRemembersTheSkin)
{
    SkinFolder folder("; mine\n[My]\nBitHigh=1\n[Other]\nBitLow=2\n", "[GUI]\nSkin=My\n");
    {
        SkinEditor editor(folder.profiles, folder.state);
        EXPECT_EQ(editor.Names(), QStringList({QStringLiteral("My"), QStringLiteral("Other")}));
        editor.SetNumber(kSkinKeys[9], 77);
        EXPECT_TRUE(editor.Changed());
        EXPECT_EQ(editor.SaveAs(QStringLiteral(" New one ")), QString());
        EXPECT_NE(editor.SaveAs(QStringLiteral("a]b")), QString());
        EXPECT_NE(editor.SaveAs(QStringLiteral("  ")), QString());
    }
    ProfileStore fresh;
    SkinEditor editor(fresh, folder.state);
    EXPECT_EQ(editor.Name(), QStringLiteral("New one"));
    EXPECT_EQ(editor.Edited().BitHigh, 77);
    editor.Choose(QStringLiteral("My"));
    EXPECT_EQ(editor.Edited().BitHigh, 1);
    EXPECT_EQ(fresh.File(folder.skinFile).SectionLines(u"Other"), QStringList(QStringLiteral("BitLow=2")));
}

TEST(SkinEditor, RemembersNothingWhenTheSkinCannotBeSaved)
{
    SkinFolder folder("", "[GUI]\nSkin=My\nSkinFile=no\\such\\folder\\x.ini\n");
    SkinEditor editor(folder.profiles, folder.state);
    editor.SetNumber(kSkinKeys[9], 77);
    EXPECT_NE(editor.SaveAs(QStringLiteral("Lost")), QString());
    EXPECT_EQ(ProfileStore().String(folder.state.ProgramSettingsFile, u"GUI", u"Skin"), QStringLiteral("My"));
}
