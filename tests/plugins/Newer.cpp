// A plug-in library for a later version of the contract.
#include <QObject>

class Newer final : public QObject {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "tarnlo.plugin/99" FILE "Newer.json")
};

#include "Newer.moc"
