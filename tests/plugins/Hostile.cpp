// A plug-in library whose classes misbehave, each in the way of its name; "Good" does not.
#include "plugins/TarnloPlugin.h"

#include <QWidget>

#include <stdexcept>

class Plugin final : public QWidget {
    Q_OBJECT
    Q_PROPERTY(QString Caption READ Caption)
    Q_PROPERTY(QString TargetInfo WRITE SetInfo READ Info)
    Q_PROPERTY(int TargetAddress WRITE SetAddress READ Address)
    Q_PROPERTY(int Popup READ Popup)
public:
    Plugin(QString name, QObject* host) : m_name(std::move(name)), m_host(host) { }

    QString Caption()
    {
        Note("Caption");
        if (m_name == QLatin1String("ThrowsInCaption")) {
            Acquire();
            throw std::runtime_error("no caption today");
        }
        return m_name + QStringLiteral(" caption");
    }
    void SetInfo(const QString& info)
    {
        m_info = info;
        Note("TargetInfo");
    }
    [[nodiscard]] QString Info() const { return m_info; }
    void SetAddress(int address)
    {
        m_address = address;
        Note("TargetAddress");
        if (m_name == QLatin1String("KeepsTheBus"))
            Acquire();
    }
    [[nodiscard]] int Address() const { return m_address; }
    int Popup()
    {
        Note("Popup");
        return m_name == QLatin1String("Good") || m_name == QLatin1String("ThrowsInShowForm") ? 1 : 0;
    }
    Q_INVOKABLE void ShowForm(int argument)
    {
        Note("ShowForm");
        if (m_name == QLatin1String("ThrowsInShowForm")) {
            Acquire();
            throw 5;
        }
        m_host->setProperty("shown", argument);
    }

private:
    void Note(const char* what)
    {
        m_host->setProperty("noted", m_host->property("noted").toStringList() << QString::fromLatin1(what));
    }
    void Acquire() { CallHost(m_host, QStringLiteral("AcquireUSBExclAccess")); }

    QString m_name;
    QObject* m_host;
    QString m_info;
    int m_address = 0;
};

class Factory final : public QObject {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID TarnloPlugin_iid FILE "Hostile.json")
public:
    Q_INVOKABLE QObject* Create(const QString& className, QObject* host)
    {
        if (className == QLatin1String("ThrowsInCreate"))
            throw std::runtime_error("not today");
        return className == QLatin1String("MakesNothing") ? nullptr : new Plugin(className, host);
    }
};

#include "Hostile.moc"
