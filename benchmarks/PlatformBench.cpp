#include "platform/Evaluator.h"
#include "platform/ProfileFile.h"
#include "platform/WholeFile.h"

#include <QStringList>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

constexpr int kKeys = 5000;

void EvaluateText(benchmark::State& state, const char* text)
{
    const QString expression = QLatin1String(text);
    for ([[maybe_unused]] auto step : state)
        benchmark::DoNotOptimize(Evaluate(expression).value);
}
BENCHMARK_CAPTURE(EvaluateText, division, "3712/10");
BENCHMARK_CAPTURE(EvaluateText, temperature, "(3712-32768)/10-273.15");

/// The factors of a whole register table, substituted and evaluated: at most 50 us.
void Evaluate29Rows(benchmark::State& state)
{
    QStringList factors;
    while (factors.size() < 29)
        factors << (factors.size() % 3 == 0 ? QStringLiteral("x/10-273.15") : QStringLiteral("x/1000"));
    for ([[maybe_unused]] auto step : state)
        for (const QString& factor : factors)
            benchmark::DoNotOptimize(
                Evaluate(QString(factor).replace(QLatin1Char('x'), QStringLiteral("29815"))).value);
}
BENCHMARK(Evaluate29Rows);

QString MakeFile(const QTemporaryDir& folder)
{
    QByteArray bytes = "[Values]\n";
    for (int key = 0; key < kKeys; ++key)
        bytes += "Key" + QByteArray::number(key) + "=" + QByteArray::number(key * 7) + "\n";
    const QString path = folder.filePath(QStringLiteral("bench.ini"));
    return SaveWhole(path, bytes).isEmpty() ? path : QString();
}

QStringList KeyNames()
{
    QStringList names;
    for (int key = 0; key < kKeys; ++key)
        names << QStringLiteral("Key%1").arg(key);
    return names;
}

/// 5,000 keys after one look at the file's stamp.
void ProfileKeyFromFile(benchmark::State& state)
{
    const QTemporaryDir folder;
    const QString path = MakeFile(folder);
    const QStringList names = KeyNames();
    ProfileStore store;
    for ([[maybe_unused]] auto step : state) {
        const ProfileFile& file = store.File(path);
        for (const QString& name : names)
            benchmark::DoNotOptimize(file.Integer(u"Values", name));
    }
    state.SetItemsProcessed(state.iterations() * kKeys);
}
BENCHMARK(ProfileKeyFromFile)->Unit(benchmark::kMillisecond);

/// The same keys through the store, which looks at the stamp for each: one stat call a key.
void ProfileKeyFromStore(benchmark::State& state)
{
    const QTemporaryDir folder;
    const QString path = MakeFile(folder);
    const QStringList names = KeyNames();
    ProfileStore store;
    for ([[maybe_unused]] auto step : state)
        for (const QString& name : names)
            benchmark::DoNotOptimize(store.Integer(path, u"Values", name));
    state.SetItemsProcessed(state.iterations() * kKeys);
}
BENCHMARK(ProfileKeyFromStore)->Unit(benchmark::kMillisecond);

/// With the file read again for each key, the line looked for by its bytes and nothing else done.
void ProfileKeyReadAgain(benchmark::State& state)
{
    const QTemporaryDir folder;
    const QString path = MakeFile(folder);
    const QStringList names = KeyNames();
    for ([[maybe_unused]] auto step : state) {
        for (const QString& name : names) {
            const QByteArray bytes = ReadWhole(path).bytes;
            const QByteArray line = '\n' + name.toUtf8() + '=';
            benchmark::DoNotOptimize(bytes.mid(bytes.indexOf(line) + line.size(), 6).trimmed().toInt());
        }
    }
    state.SetItemsProcessed(state.iterations() * kKeys);
}
BENCHMARK(ProfileKeyReadAgain)->Unit(benchmark::kMillisecond)->Iterations(1);

/// With the whole file read and parsed again for each key, as the platform does; 50 keys only, it is slow.
void ProfileKeyParsedAgain(benchmark::State& state)
{
    const QTemporaryDir folder;
    const QString path = MakeFile(folder);
    const QStringList names = KeyNames();
    for ([[maybe_unused]] auto step : state)
        for (int key = 0; key < kKeys; key += 100)
            benchmark::DoNotOptimize(ProfileFile(ReadWhole(path).bytes).Integer(u"Values", names[key]));
    state.SetItemsProcessed(state.iterations() * (kKeys / 100));
}
BENCHMARK(ProfileKeyParsedAgain)->Unit(benchmark::kMillisecond)->Iterations(1);

} // namespace

BENCHMARK_MAIN();
