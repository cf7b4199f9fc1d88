#include "dataflash/DataFlashModel.h"

#include "dataflash/bCfgReader.h"
#include "platform/ProfileFile.h"
#include "platform/ProgramFolder.h"
#include "platform/UserMessages.h"
#include "settings/StartupState.h"

#include <QFileInfo>
#include <QStringList>

#include <numeric>

namespace {

constexpr int kMostLines = 20; ///< of a message about a configuration
constexpr std::int32_t kMostText = 512; ///< the buffer of a text, its closing NUL included

void SayProblems(const bCfgReader& reader, const QString& path, bool errors, UserMessages& messages)
{
    QStringList lines;
    for (const CfgProblem& problem : reader.Problems())
        if (problem.Error == errors)
            lines << problem.InWords(path);
    if (lines.isEmpty())
        return;
    const qsizetype more = lines.size() - kMostLines;
    lines = lines.mid(0, kMostLines);
    if (more > 0)
        lines << QStringLiteral("and %1 more").arg(more);
    if (errors)
        messages.Show(QStringLiteral("The data flash configuration was not loaded.\n")
                      + lines.join(QLatin1Char('\n')));
    else
        messages.Report(lines.join(QLatin1Char('\n')));
}

DataItem TakeItem(const bCfgReader& reader, std::int32_t classIndex, std::int32_t subClassIndex,
                  std::int32_t index)
{
    DataItem item;
    reader.GetDataType(classIndex, subClassIndex, index, item.DataType);
    reader.GetDefValue(classIndex, subClassIndex, index, item.DefValue);
    reader.GetDisplayFmt(classIndex, subClassIndex, index, item.DisplayFmt);
    reader.GetHelpText(classIndex, subClassIndex, index, item.HelpText);
    item.Offset = reader.GetOffset(classIndex, subClassIndex, index);
    reader.GetMaxVal(classIndex, subClassIndex, index, item.MaxVal);
    reader.GetMinVal(classIndex, subClassIndex, index, item.MinVal);
    reader.GetName(classIndex, subClassIndex, index, item.Name);
    reader.GetFullName(classIndex, subClassIndex, index, item.FullName);
    reader.GetReadFormula(classIndex, subClassIndex, index, item.ReadFormula);
    reader.GetUnits(classIndex, subClassIndex, index, item.Units);
    reader.GetValue(classIndex, subClassIndex, index, item.Value);
    reader.GetWriteFormula(classIndex, subClassIndex, index, item.WriteFormula);
    item.Private = reader.IsPrivate(classIndex, subClassIndex, index);
    return item;
}

SubClass TakeSubClass(const bCfgReader& reader, std::int32_t classIndex, std::int32_t index)
{
    SubClass subClass;
    const std::int32_t items = reader.GetNumData(classIndex, index);
    std::int32_t id = 0;
    reader.GetNextSubClass(classIndex, index, id, subClass.Name);
    subClass.Id = static_cast<std::uint16_t>(id); // the reader refuses wider ones
    subClass.Buffer.resize(static_cast<std::size_t>(reader.GetSubClassLength(classIndex, index)));
    for (std::int32_t i = 0; i < items; ++i)
        subClass.Items.push_back(TakeItem(reader, classIndex, index, i));
    return subClass;
}

} // namespace

int DataFlashTree::SubClassCount() const
{
    return std::accumulate(Classes.begin(), Classes.end(), 0, [](int sum, const DataClass& one) {
        return sum + static_cast<int>(one.SubClasses.size());
    });
}

int DataFlashTree::ItemCount() const
{
    int count = 0;
    for (const DataClass& one : Classes)
        for (const SubClass& subClass : one.SubClasses)
            count += static_cast<int>(subClass.Items.size());
    return count;
}

int DataFlashTree::ByteCount() const
{
    int count = 0;
    for (const DataClass& one : Classes)
        for (const SubClass& subClass : one.SubClasses)
            count += subClass.Length();
    return count;
}

bool InitStructFromCfgFile(bCfgReader& reader, const QString& path, UserMessages& messages,
                           DataFlashTree& tree)
{
    reader.ShowErrorMsgs(0); // they are said here
    const bool loaded = reader.LoadCfgFile(path) == 0;
    SayProblems(reader, path, !loaded, messages);
    if (!loaded)
        return false;
    DataFlashTree fresh;
    reader.GetTarget(fresh.Target);
    reader.GetLegacyString(fresh.LegacyString, kMostText);
    const std::int32_t classes = reader.GetNumClasses();
    for (std::int32_t i = 0; i < classes; ++i) {
        DataClass& one = fresh.Classes.emplace_back();
        const std::int32_t subClasses = reader.GetNumSubClasses(i);
        reader.GetClass(i, one.Name);
        for (std::int32_t j = 0; j < subClasses; ++j)
            one.SubClasses.push_back(TakeSubClass(reader, i, j));
    }
    reader.UnloadCfgFile();
    ClearValues(fresh);
    tree = std::move(fresh);
    return true;
}

void ClearValues(DataFlashTree& tree)
{
    for (DataClass& one : tree.Classes)
        for (SubClass& subClass : one.SubClasses) {
            subClass.Buffer.assign(subClass.Buffer.size(), 0xFF);
            for (DataItem& item : subClass.Items) {
                item.Value = QString();
                item.ReadValue = QString();
                item.ChangedFlag = false;
            }
        }
}

QString DataFlashConfigPath(ProfileStore& profiles, const StartupState& state)
{
    return DataFlashPath(profiles, state, u"ConfigFile");
}

QString DataFlashPath(ProfileStore& profiles, const StartupState& state, QStringView key)
{
    if (state.TargetConfigPath.isEmpty())
        return {};
    const QString written = profiles.String(state.TargetConfigPath, u"DataFlash", key);
    if (written.isEmpty())
        return {};
    const QString target = ResolvePath(state.ProgramFolder, state.TargetConfigPath); // may hold "\\"
    const QString beside = ResolvePath(QFileInfo(target).path(), written);
    return QFileInfo::exists(beside) ? beside : ResolvePath(state.ProgramFolder, written);
}
