#include "tests/cli/CliRun.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

#include <algorithm>

namespace {
constexpr int kLongestRunMs = 60'000;

bool Same(const QJsonValue& actual, const QJsonValue& expected)
{
    const QJsonArray have = actual.toArray();
    const QJsonArray want = expected.toArray();
    if (expected.isArray())
        return actual.isArray() && std::equal(have.begin(), have.end(), want.begin(), want.end(), Same);
    const QString text = expected.toString();
    return text.startsWith(QLatin1Char('~')) ? actual.toString().contains(text.mid(1)) : actual == expected;
}
} // namespace

std::vector<QJsonObject> CliAnswer::Lines() const
{
    std::vector<QJsonObject> objects;
    for (const QByteArray& line : Out.split('\n').mid(0, Out.count('\n'))) {
        const QJsonDocument document = QJsonDocument::fromJson(line);
        EXPECT_TRUE(document.isObject()) << line.constData();
        objects.push_back(document.object());
    }
    return objects;
}

QJsonObject CliAnswer::Object() const
{
    const std::vector<QJsonObject> lines = Lines();
    EXPECT_EQ(lines.size(), 1U) << Out.constData() << Err.toStdString();
    return lines.empty() ? QJsonObject() : lines.front();
}

CliRun::CliRun() { QDir(m_folder.path()).mkdir(QStringLiteral("home")); }

void CliRun::Start(QProcess& process, const QStringList& arguments) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TARNLO_HOME"), Path(QStringLiteral("home")));
    environment.insert(QStringLiteral("TARNLO_ADAPTER"), QStringLiteral("sim"));
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(m_folder.path());
    process.start(QStringLiteral(TARNLO_CLI), arguments);
    ASSERT_TRUE(process.waitForStarted());
}

CliAnswer CliRun::Run(const QStringList& arguments, const QByteArray& input) const
{
    QProcess process;
    Start(process, arguments);
    process.write(input);
    process.closeWriteChannel();
    EXPECT_TRUE(process.waitForFinished(kLongestRunMs)) << arguments.join(QLatin1Char(' ')).toStdString();
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    return {process.exitCode(), process.readAllStandardOutput(),
            QString::fromUtf8(process.readAllStandardError())};
}

void CliRun::ShipHome() const
{
    const QDir shipped(QStringLiteral(TARNLO_SHIPPED_HOME));
    for (const QString& name :
         shipped.entryList({QStringLiteral("*.ini"), QStringLiteral("*.sbs"), QStringLiteral("*.tgt")}))
        EXPECT_TRUE(QFile::copy(shipped.filePath(name), Path(QStringLiteral("home/") + name)));
    for (const QString& target : {QStringLiteral("generic"), QStringLiteral("sim4s")}) {
        QDir(m_folder.path()).mkdir(QStringLiteral("home/") + target);
        for (const QString& name : QDir(shipped.filePath(target)).entryList(QDir::Files)) {
            const QString file = target + u'/' + name;
            EXPECT_TRUE(QFile::copy(shipped.filePath(file), Path(QStringLiteral("home/") + file)));
        }
    }
    QByteArray settings = Read(QStringLiteral("home/tarnlo.ini"));
    settings.replace("\nSpeed=1\n", "\nSpeed=0\n");
    Write(QStringLiteral("home/tarnlo.ini"), settings);
}

void CliRun::Write(const QString& name, const QByteArray& bytes) const
{
    QFile file(Path(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

QByteArray CliRun::Read(const QString& name) const
{
    QFile file(Path(name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    return file.readAll();
}

bool Holds(const QJsonObject& actual, const QByteArray& expected)
{
    const QJsonDocument document = QJsonDocument::fromJson(expected);
    EXPECT_TRUE(document.isObject()) << expected.constData();
    const QJsonObject members = document.object();
    return std::ranges::all_of(
        members.keys(), [&](const QString& key) { return Same(actual.value(key), members.value(key)); });
}
