#include "plugins/QtPlugin.h"

#include "plugins/PluginHost.h"
#include "plugins/TarnloPlugin.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QMetaMethod>
#include <QPluginLoader>
#include <QScopedValueRollback>

#include <array>
#include <exception>
#include <utility>

namespace {

const QString kIid = QStringLiteral(TarnloPlugin_iid);

QString VersionOf(const QString& iid) { return iid.mid(iid.lastIndexOf(QLatin1Char('/')) + 1); }

/// The method of that name with one argument that an integer can be made into.
QMetaMethod OneArgument(const QMetaObject* type, const char* name)
{
    for (int i = type->methodCount() - 1; i >= 0; --i) {
        const QMetaMethod method = type->method(i);
        if (method.name() == name && method.parameterCount() == 1
            && (method.parameterType(0) == QMetaType::QVariant
                || QMetaType::canConvert(QMetaType(QMetaType::Int), method.parameterMetaType(0))))
            return method;
    }
    return {};
}

} // namespace

LibraryFacts ReadLibraryFacts(const QString& library)
{
    const QPluginLoader loader(library);
    const QJsonObject data = loader.metaData();
    const QString iid = data.value(u"IID").toString();
    const QString name = QFileInfo(library).fileName();
    if (!iid.startsWith(kIid.left(kIid.indexOf(QLatin1Char('/')) + 1)))
        return {{},
                QStringLiteral("%1 is no plug-in for Tarnlo, or it is not whole: build or copy it again.")
                    .arg(name)};
    LibraryFacts facts;
    for (const QJsonValue item : data.value(u"MetaData").toObject().value(u"Classes").toArray())
        facts.Classes << item.toString();
    if (iid != kIid)
        facts.Problem = QStringLiteral("%1 was made for version %2 of the plug-in contract, this Tarnlo has "
                                       "version %3. Get the plug-in for this version.")
                            .arg(name, VersionOf(iid), VersionOf(kIid));
    return facts;
}

QtPlugin::QtPlugin(QString library, QString className, PluginHost& host, QObject* parent)
    : PluginObject(parent), m_library(std::move(library)), m_className(std::move(className)), m_host(host)
{
}

QtPlugin::~QtPlugin() { delete m_object; }

bool QtPlugin::Guarded(const QString& what, const std::function<void()>& work)
{
    QString thrown;
    {
        const QScopedValueRollback depth(m_depth, m_depth + 1);
        try {
            work();
            return true;
        } catch (const std::exception& error) {
            thrown = QString::fromLocal8Bit(error.what());
        } catch (...) {
            thrown = tr("something that is no std::exception");
        }
    }
    m_host.GiveBack();
    m_thrown = tr("%1 threw in %2: %3").arg(m_className, what, thrown);
    emit Trouble(m_thrown);
    return false;
}

void QtPlugin::Start()
{
    QPluginLoader loader(m_library);
    QString problem;
    const bool created = Guarded(tr("Create"), [&] {
        QObject* factory = loader.instance();
        QObject* made = nullptr;
        if (!factory)
            problem = loader.errorString();
        else if (!QMetaObject::invokeMethod(factory, "Create", Qt::DirectConnection,
                                            Q_RETURN_ARG(QObject*, made), Q_ARG(QString, m_className),
                                            Q_ARG(QObject*, static_cast<QObject*>(&m_host))))
            problem = tr("%1 has no Create(QString, QObject*).").arg(QFileInfo(m_library).fileName());
        else if (!made)
            problem = tr("%1 made no %2.").arg(QFileInfo(m_library).fileName(), m_className);
        m_object = made;
    });
    if (!m_object)
        emit Ended(created ? problem : m_thrown);
    else
        emit Ready();
}

void QtPlugin::Get(const QString& property, const Then& then)
{
    QVariant value;
    Guarded(property,
            [&] { value = m_object ? m_object->property(property.toLatin1().constData()) : value; });
    then(value);
}

void QtPlugin::Set(const QString& property, const QVariant& value)
{
    Guarded(property, [&] {
        // setProperty would invent one that the class does not have
        if (m_object && m_object->metaObject()->indexOfProperty(property.toLatin1().constData()) >= 0)
            m_object->setProperty(property.toLatin1().constData(), value);
    });
}

void QtPlugin::ShowForm(int argument)
{
    if (!m_object)
        return;
    const QMetaMethod method = OneArgument(m_object->metaObject(), "ShowForm");
    if (!method.isValid()) {
        emit Trouble(tr("%1 has no ShowForm with one argument.").arg(m_className));
        return;
    }
    QVariant value(argument);
    const bool asVariant = method.parameterType(0) == QMetaType::QVariant;
    if (!asVariant)
        value.convert(method.parameterMetaType(0));
    Guarded(QStringLiteral("ShowForm"), [&] {
        std::array<void*, 2> places{nullptr, asVariant ? static_cast<void*>(&value) : value.data()};
        m_object->qt_metacall(QMetaObject::InvokeMetaMethod, method.methodIndex(), places.data());
    });
}
