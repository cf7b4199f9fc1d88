#pragma once

#include <QObject>
#include <QString>
#include <QVariant>

#include <functional>

/// An embedded plug-in, in this process or in one of its own, as the host window drives it: properties and
/// ShowForm by name. Nothing here throws or waits, whatever the plug-in does.
class PluginObject : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    using Then = std::function<void(const QVariant& value)>;

    virtual void Start() = 0; ///< Ready() or Ended() follows, perhaps before this returns
    /// @param then  called once with the value, invalid where there is none; never when the plug-in ended
    virtual void Get(const QString& property, const Then& then) = 0;
    virtual void Set(const QString& property, const QVariant& value) = 0;
    virtual void ShowForm(int argument) = 0;
    /// In this process; nothing for one in its own.
    [[nodiscard]] virtual QObject* Object() const { return nullptr; }
    [[nodiscard]] virtual bool Busy() const { return false; } ///< it or a call of it is down the stack
    [[nodiscard]] virtual QString Output() const { return {}; } ///< the newest lines that it printed

signals:
    void Ready(); ///< properties may be asked
    void Trouble(const QString& text); ///< goes on, but something failed
    void Answering(bool answering); ///< came to answer, or stopped to
    void Printed();
    /// @param reason  plain words; empty when it ended by itself as programs do
    void Ended(const QString& reason);
};
