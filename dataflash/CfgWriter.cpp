#include "dataflash/CfgParser.h"

#include <QTextStream>

namespace {

QString TomlText(const QString& text)
{
    QString quoted = QStringLiteral("\"");
    for (const QChar c : text) {
        if (c == u'"' || c == u'\\')
            quoted += u'\\';
        if (c < u' ' || c == QChar(0x7F))
            quoted += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
        else
            quoted += c;
    }
    return quoted + u'"';
}

/// "key = text", or nothing for an empty text.
void Put(QTextStream& out, const char* key, const QString& text)
{
    if (!text.isEmpty())
        out << key << " = " << TomlText(text) << '\n';
}

void PutItem(QTextStream& out, const DataItem& item)
{
    out << "\n[[class.subclass.item]]\n";
    Put(out, "name", item.Name);
    Put(out, "full-name", item.FullName);
    Put(out, "type", item.DataType);
    out << "offset = " << item.Offset << '\n';
    Put(out, "value", item.Value);
    Put(out, "default", item.DefValue);
    Put(out, "min", item.MinVal);
    Put(out, "max", item.MaxVal);
    Put(out, "read", item.ReadFormula);
    Put(out, "write", item.WriteFormula);
    Put(out, "format", item.DisplayFmt);
    Put(out, "units", item.Units);
    Put(out, "help", item.HelpText);
    if (item.Private)
        out << "private = true\n";
}

} // namespace

QByteArray DataFlashCfgBytes(const DataFlashTree& tree)
{
    QByteArray bytes;
    QTextStream out(&bytes);
    Put(out, "target", tree.Target);
    Put(out, "access-style", tree.LegacyString);
    for (const DataClass& one : tree.Classes) {
        out << "\n[[class]]\n";
        Put(out, "name", one.Name);
        for (const SubClass& subClass : one.SubClasses) {
            out << "\n[[class.subclass]]\n";
            Put(out, "name", subClass.Name);
            out << "id = " << subClass.Id << "\nlength = " << subClass.Length() << '\n';
            for (const DataItem& item : subClass.Items)
                PutItem(out, item);
        }
    }
    out.flush();
    return bytes;
}
