#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <vector>

/// What one run of the built program answered.
struct CliAnswer {
    int Status = -1;
    QByteArray Out;
    QString Err;
    /// Standard output line by line; fails the test when a line is no JSON object.
    [[nodiscard]] std::vector<QJsonObject> Lines() const;
    [[nodiscard]] QJsonObject Object() const; ///< the one object that a --json call prints
};

/// A folder that goes away with the test, where the program runs as a process of its own.
class CliRun {
public:
    /// The program folder is "home" below; empty at first.
    CliRun();
    [[nodiscard]] CliAnswer Run(const QStringList& arguments, const QByteArray& input = {}) const;
    /// Starts a run that goes on; the caller ends it.
    void Start(QProcess& process, const QStringList& arguments) const;

    void ShipHome() const; ///< fills "home" with what ships, the simulated pack as fast as it can
    [[nodiscard]] QString Path(const QString& name) const { return m_folder.filePath(name); }
    void Write(const QString& name, const QByteArray& bytes) const;
    [[nodiscard]] QByteArray Read(const QString& name) const;

private:
    QTemporaryDir m_folder;
};

/// Whether every member of expected stands in actual; a text that begins with "~" only needs to be contained.
[[nodiscard]] bool Holds(const QJsonObject& actual, const QByteArray& expected);
