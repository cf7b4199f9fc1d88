#include "look/SkinEditor.h"

#include "platform/ProgramFolder.h"

namespace {

constexpr double kLeastText = 4.5;
constexpr double kLeastMark = 3.0;

} // namespace

ContrastCheck CheckContrast(const Skin& skin, const SkinKey& key)
{
    const SkinColours derived = DeriveColours(skin);
    const auto colour = [&skin](std::int32_t Skin::*value) { return SkinColour(skin, {"", value, true}); };
    const Rgb own = SkinColour(skin, key);
    if (key.value == &Skin::SelectionHighlight)
        return {"focus", Contrast(own, derived.Base), kLeastMark};
    if (key.value == &Skin::ChangeHighlight)
        return {"mark", Contrast(own, derived.Base), kLeastMark};
    if (key.value == &Skin::TextHighlightFore)
        return {"text", Contrast(own, colour(&Skin::SelectionHighlight)), kLeastText};
    if (key.value == &Skin::TextFore)
        return {"text", Contrast(own, derived.Base), kLeastText};
    return {"text", Contrast(own, colour(&Skin::TextFore)), kLeastText};
}

SkinEditor::SkinEditor(ProfileStore& profiles, const StartupState& state)
    : m_profiles(profiles), m_state(state),
      m_fileName(
          profiles.String(state.ProgramSettingsFile, u"GUI", u"SkinFile", QStringLiteral("DefSkin.ini"))),
      m_path(ResolvePath(state.ProgramFolder, m_fileName)), m_stored(DefaultSkin()), m_edited(DefaultSkin())
{
    Choose(profiles.String(state.ProgramSettingsFile, u"GUI", u"Skin", QStringLiteral("Default")));
}

QStringList SkinEditor::Names() const
{
    QStringList names = m_profiles.File(m_path).SectionNames();
    if (!names.contains(m_name, Qt::CaseInsensitive))
        names.prepend(m_name);
    return names;
}

void SkinEditor::Choose(const QString& name)
{
    m_name = name;
    m_stored = LoadSkinColours(m_profiles, m_path, name);
    m_edited = m_stored;
}

QString SkinEditor::Save()
{
    if (Changed()) {
        QString problem = SaveSkin(m_profiles, m_path, m_name, m_edited);
        if (!problem.isEmpty())
            return problem;
        m_stored = m_edited;
    }
    return m_profiles.Write(m_state.ProgramSettingsFile, u"GUI", u"Skin", m_name);
}

QString SkinEditor::SaveAs(const QString& name)
{
    const QString wanted = name.trimmed();
    if (wanted.isEmpty() || wanted.contains(QLatin1Char('[')) || wanted.contains(QLatin1Char(']')))
        return QStringLiteral("A skin needs a name without \"[\" and \"]\".");
    QString problem = SaveSkin(m_profiles, m_path, wanted, m_edited);
    if (!problem.isEmpty())
        return problem;
    m_name = wanted;
    m_stored = m_edited;
    return Save();
}
