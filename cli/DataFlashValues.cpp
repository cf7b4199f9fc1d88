#include "cli/DataFlashValues.h"

#include "dataflash/EachItem.h"
#include "dataflash/ValueEncoding.h"
#include "platform/WholeFile.h"

#include <QHash>
#include <QJsonDocument>

namespace {

constexpr qint64 kLargestFile = 64LL * 1024 * 1024;
constexpr qsizetype kNamesListed = 5;

QString TextIn(const QJsonValue& value, const DataItem& item)
{
    const auto type = ParseDataType(item.DataType);
    if (value.isDouble() && type)
        return NativeText(*type, value.toDouble());
    return value.toString(QLatin1String(""));
}

} // namespace

QJsonObject ValuesJson(const DataFlashTree& tree)
{
    QJsonObject values;
    for (const DataClass& dataClass : tree.Classes) {
        QJsonObject subClasses;
        for (const SubClass& subClass : dataClass.SubClasses) {
            QJsonObject items;
            for (const DataItem& item : subClass.Items)
                if (!item.Value.isNull())
                    items[item.Name] = item.Value;
            if (!items.isEmpty())
                subClasses[subClass.Name] = items;
        }
        if (!subClasses.isEmpty())
            values[dataClass.Name] = subClasses;
    }
    return values;
}

QStringList PutValues(DataFlashTree& tree, const QJsonObject& values)
{
    const auto key = [](const QString& a, const QString& b, const QString& c) {
        return QString(a + QLatin1Char('\n') + b + QLatin1Char('\n') + c).toCaseFolded();
    };
    QHash<QString, DataItem*> items;
    ForEachItem(tree,
                [&](const ItemPlace&, const DataClass& dataClass, const SubClass& subClass, DataItem& item) {
                    items[key(dataClass.Name, subClass.Name, item.Name)] = &item;
                });
    QStringList unknown;
    for (auto dataClass = values.begin(); dataClass != values.end(); ++dataClass) {
        const QJsonObject subClasses = dataClass->toObject();
        if (subClasses.isEmpty())
            unknown << dataClass.key();
        for (auto subClass = subClasses.begin(); subClass != subClasses.end(); ++subClass) {
            const QJsonObject texts = subClass->toObject();
            if (texts.isEmpty())
                unknown << dataClass.key() + QLatin1Char('/') + subClass.key();
            for (auto text = texts.begin(); text != texts.end(); ++text) {
                DataItem* item = items.value(key(dataClass.key(), subClass.key(), text.key()));
                if (item != nullptr && (text->isString() || text->isDouble()))
                    item->Value = TextIn(*text, *item);
                else
                    unknown << dataClass.key() + QLatin1Char('/') + subClass.key() + QLatin1Char('/')
                            + text.key();
            }
        }
    }
    return unknown;
}

QString PutValuesFile(DataFlashTree& tree, const QString& path)
{
    const FileBytes file = ReadWhole(path, kLargestFile);
    if (!file.error.isEmpty())
        return file.error;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.bytes, &error);
    if (!document.isObject())
        return QStringLiteral("%1 is no JSON object: %2 at byte %3")
            .arg(path, error.errorString())
            .arg(error.offset);
    const QJsonObject object = document.object();
    const QJsonValue values = object.value(QStringLiteral("values"));
    const QStringList unknown = PutValues(tree, values.isObject() ? values.toObject() : object);
    if (unknown.isEmpty())
        return {};
    return QStringLiteral(
               "%1 names %2 values that the configuration does not have, or that are no texts: %3%4")
        .arg(path)
        .arg(unknown.size())
        .arg(unknown.mid(0, kNamesListed).join(QStringLiteral(", ")),
             unknown.size() > kNamesListed ? QStringLiteral(", ...") : QString());
}
