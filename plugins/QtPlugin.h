#pragma once

#include "plugins/PluginObject.h"

#include <QPointer>

class PluginHost;

/// A plug-in in a shared library, in this process. What it throws is caught and reported; what it holds of
/// the bus then goes back. One that hangs or crashes takes the program with it.
class QtPlugin final : public PluginObject {
    Q_OBJECT
public:
    /// @param library  absolute path
    QtPlugin(QString library, QString className, PluginHost& host, QObject* parent);
    ~QtPlugin() override;

    void Start() override;
    void Get(const QString& property, const Then& then) override;
    void Set(const QString& property, const QVariant& value) override;
    void ShowForm(int argument) override;
    [[nodiscard]] QObject* Object() const override { return m_object; }
    [[nodiscard]] bool Busy() const override { return m_depth > 0; }

private:
    /// @return false when it threw
    bool Guarded(const QString& what, const std::function<void()>& work);

    QString m_library;
    QString m_className;
    PluginHost& m_host;
    QPointer<QObject> m_object;
    int m_depth = 0;
    QString m_thrown; ///< what was reported last
};

/// What a library says of itself, read without running its code.
struct LibraryFacts {
    QStringList Classes;
    QString Problem; ///< no plug-in of ours, or of another version; plain words
};
[[nodiscard]] LibraryFacts ReadLibraryFacts(const QString& library);
