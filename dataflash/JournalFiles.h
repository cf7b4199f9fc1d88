#pragma once

#include <QByteArray>
#include <QLockFile>
#include <QString>
#include <QStringList>

#include <memory>

/// Where journals lie. Names have no folder. Every change is on the disk when its call returns.
class JournalFiles {
public:
    virtual ~JournalFiles() = default;
    [[nodiscard]] virtual QStringList Names() = 0;
    /// @param problem  empty, or why it cannot be read
    [[nodiscard]] virtual QByteArray Read(const QString& name, QString& problem) = 0;
    // @return empty, or what went wrong in plain words
    [[nodiscard]] virtual QString Save(const QString& name, const QByteArray& bytes) = 0; ///< whole or not
    [[nodiscard]] virtual QString Append(const QString& name, const QByteArray& bytes) = 0;
    [[nodiscard]] virtual QString Remove(const QString& name) = 0;
    /// Keeps a journal, which need not be there yet, for this program until Unlock, its end or the next Lock.
    /// @return empty, or which other program has it
    [[nodiscard]] virtual QString Lock(const QString& /*name*/) { return {}; }
    virtual void Unlock() { }
};

/// A folder, made with its first journal.
class JournalFolder final : public JournalFiles {
public:
    explicit JournalFolder(QString folder) : m_folder(std::move(folder)) { }
    [[nodiscard]] QStringList Names() override;
    [[nodiscard]] QByteArray Read(const QString& name, QString& problem) override;
    [[nodiscard]] QString Save(const QString& name, const QByteArray& bytes) override;
    [[nodiscard]] QString Append(const QString& name, const QByteArray& bytes) override;
    [[nodiscard]] QString Remove(const QString& name) override;
    [[nodiscard]] QString Lock(const QString& name) override;
    void Unlock() override { m_lock.reset(); }

private:
    [[nodiscard]] QString Path(const QString& name) const { return m_folder + QLatin1Char('/') + name; }
    QString m_folder;
    std::unique_ptr<QLockFile> m_lock;
};

/// Where the journals of a program folder lie.
[[nodiscard]] QString JournalPath(const QString& programFolder);
