#include "dataflash/EachItem.h"
#include "dataflash/GgFile.h"
#include "platform/WholeFile.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <strings.h>

namespace {

constexpr int kItems = 5000;
constexpr int kItemsASubClass = 25;
const QString kDevice = QStringLiteral("Pack");

/// 20 classes of 10 subclasses of 25 words.
DataFlashTree MakeTree()
{
    DataFlashTree tree;
    for (int i = 0; i < kItems; ++i) {
        if (i % (10 * kItemsASubClass) == 0)
            tree.Classes.push_back({QStringLiteral("Class %1").arg(tree.Classes.size()), {}});
        auto& subClasses = tree.Classes.back().SubClasses;
        if (i % kItemsASubClass == 0)
            subClasses.push_back({QStringLiteral("Subclass %1").arg(i / kItemsASubClass),
                                  static_cast<std::uint16_t>(i / kItemsASubClass),
                                  Bytes(std::size_t{2} * kItemsASubClass),
                                  {}});
        DataItem item;
        item.Name = QStringLiteral("Some Threshold %1").arg(i % kItemsASubClass);
        item.DataType = QStringLiteral("U2");
        item.Offset = 2 * (i % kItemsASubClass);
        item.MaxVal = QStringLiteral("60000");
        item.Value = QString::number(i);
        subClasses.back().Items.push_back(item);
    }
    return tree;
}

QString MakeFile(const QTemporaryDir& folder, const DataFlashTree& tree)
{
    QString path = folder.filePath(QStringLiteral("bench.gg"));
    QStringList warnings;
    if (!ExportDF(tree, kDevice, QStringLiteral("now"), path, warnings).isEmpty() || !warnings.isEmpty())
        std::abort();
    return path;
}

/// The whole import: file read, every item found, encoded, checked against its limits and put into the tree.
void GgImportAll(benchmark::State& state)
{
    const QTemporaryDir folder;
    const DataFlashTree full = MakeTree();
    const QString path = MakeFile(folder, full);
    DataFlashTree empty = full;
    ClearValues(empty);
    for ([[maybe_unused]] auto step : state) {
        DataFlashTree tree = empty;
        const GgImport import = ReadGg(path, tree, kDevice);
        ApplyGg(import, tree);
        if (import.Changed.size() != kItems)
            std::abort();
        benchmark::DoNotOptimize(tree);
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(GgImportAll)->Unit(benchmark::kMillisecond);

/// The bytes without blanks around them.
std::string_view Trimmed(std::string_view text)
{
    while (!text.empty() && static_cast<unsigned char>(text.front()) <= ' ')
        text.remove_prefix(1);
    while (!text.empty() && static_cast<unsigned char>(text.back()) <= ' ')
        text.remove_suffix(1);
    return text;
}

bool SameName(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && ::strncasecmp(a.data(), b.data(), a.size()) == 0;
}

/// Line by line up to the first match, names without letter case, as a profile file asks for; nothing kept.
std::string_view FindValue(std::string_view text, std::string_view section, std::string_view key)
{
    bool inside = false;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size() - 1);
        const std::string_view line = Trimmed(text.substr(0, end + 1));
        text.remove_prefix(end + 1);
        if (line.empty() || line.front() == ';')
            continue;
        if (line.front() == '[') {
            inside = SameName(Trimmed(line.substr(1, line.find(']') - 1)), section);
            continue;
        }
        const std::size_t equals = line.find('=');
        if (inside && equals != std::string_view::npos && SameName(Trimmed(line.substr(0, equals)), key))
            return Trimmed(line.substr(equals + 1));
    }
    return {};
}

/// The peer: the file opened, read and searched again for each key, and nothing else done. GgImportAll is to
/// be at least 50 times faster.
void GgKeyByKey(benchmark::State& state)
{
    const QTemporaryDir folder;
    const DataFlashTree full = MakeTree();
    const QString path = MakeFile(folder, full);
    for ([[maybe_unused]] auto step : state) {
        int found = 0;
        ForEachItem(full, [&](const ItemPlace& at, const DataClass&, const SubClass&, const DataItem& item) {
            const QByteArray bytes = ReadWhole(path).bytes;
            const std::string_view value
                = FindValue({bytes.constData(), static_cast<std::size_t>(bytes.size())},
                            GgSection(full, at).toStdString(), item.Name.toStdString());
            found += value == item.Value.toStdString() ? 1 : 0;
        });
        if (found != kItems)
            std::abort();
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(GgKeyByKey)->Unit(benchmark::kMillisecond)->Iterations(1);

void GgExport(benchmark::State& state)
{
    const DataFlashTree full = MakeTree();
    QStringList warnings;
    for ([[maybe_unused]] auto step : state)
        benchmark::DoNotOptimize(GgText(full, kDevice, QStringLiteral("now"), warnings));
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(GgExport)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
