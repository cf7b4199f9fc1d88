#include "dataflash/CfgParser.h"

#include "dataflash/AccessStyle.h"
#include "dataflash/ItemText.h"
#include "dataflash/ValueEncoding.h"
#include "platform/ProfileFile.h"

#include <QHash>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <tuple>

#define TOML_EXCEPTIONS 0
#include <toml++/toml.h>

namespace {

constexpr std::int32_t kNoToml = 2;
constexpr std::int32_t kUnsound = 3;
constexpr qsizetype kMostCharacters = 511; ///< readers of a text have room for 512 with its end
constexpr std::size_t kMostProblems = 1000;
constexpr std::int64_t kMostAddress = 65535; ///< subclass ids and lengths travel as 16 bits
constexpr int kMostBytes = 1 << 20; ///< of a whole data flash; keeps a wrong file from filling the memory

QString FromUtf8(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString Quoted(const QString& text) { return u'"' + text.left(80) + u'"'; }

/// Walks the file's tables and builds the tree; what is wrong is noted with its place and the walk goes on,
/// so that one look at the list is enough to put a file right.
class Builder {
public:
    Builder(DataFlashTree& tree, std::vector<CfgProblem>& problems) : m_tree(tree), m_problems(problems) { }

    void Build(const toml::table& root)
    {
        CheckKeys(root, {"target", "access-style", "class"}, QStringLiteral("the file"));
        m_tree.Target = Text(root, "target");
        m_tree.LegacyString = Text(root, "access-style");
        if (const toml::node* style = root.get("access-style")) {
            QString problem;
            (void)ParseLegacyString(m_tree.LegacyString, problem);
            if (!problem.isEmpty())
                Warn(style->source(), problem);
        }
        ForEachTable(root, "class", QStringLiteral("the file"),
                     [&](const toml::table& one) { AddClass(one); });
        if (m_tree.Classes.empty())
            Complain(root.source(), QStringLiteral("there is no [[class]]"));
        std::ranges::stable_sort(m_problems, {}, [](const CfgProblem& problem) {
            return std::tuple(problem.Line, problem.Column);
        });
    }

    [[nodiscard]] bool Sound() const { return !m_unsound; }

private:
    void Note(const toml::source_region& place, const QString& text, bool error)
    {
        m_unsound = m_unsound || error;
        if (m_problems.size() < kMostProblems)
            m_problems.push_back(
                {static_cast<int>(place.begin.line), static_cast<int>(place.begin.column), text, error});
    }
    void Complain(const toml::source_region& place, const QString& text) { Note(place, text, true); }
    void Warn(const toml::source_region& place, const QString& text) { Note(place, text, false); }

    void CheckKeys(const toml::table& table, std::initializer_list<std::string_view> known,
                   const QString& owner)
    {
        for (const auto& [key, value] : table)
            if (std::ranges::find(known, key.str()) == known.end())
                Warn(key.source(),
                     QStringLiteral("%1 knows no key %2; it is left out")
                         .arg(owner, Quoted(FromUtf8(key.str()))));
    }

    QString Text(const toml::table& table, std::string_view key)
    {
        const toml::node* node = table.get(key);
        if (node == nullptr)
            return {};
        if (!node->is_string()) {
            Complain(node->source(), QStringLiteral("%1 must be a text in quotes").arg(FromUtf8(key)));
            return {};
        }
        return Cut(*node, key, FromUtf8(node->as_string()->get()));
    }

    QString Cut(const toml::node& node, std::string_view key, QString text)
    {
        if (text.size() <= kMostCharacters)
            return text;
        Warn(node.source(),
             QStringLiteral("%1 has %2 characters and is cut to %3")
                 .arg(FromUtf8(key))
                 .arg(text.size())
                 .arg(kMostCharacters));
        text.truncate(kMostCharacters);
        if (text.back().isHighSurrogate())
            text.chop(1);
        return text;
    }

    /// @return nothing when the key is not there or no such number, which is then noted
    std::optional<int> Number(const toml::table& table, std::string_view key)
    {
        const toml::node* node = table.get(key);
        if (node == nullptr)
            return std::nullopt;
        const auto* number = node->as_integer();
        if (number == nullptr || number->get() < 0 || number->get() > kMostAddress) {
            Complain(node->source(),
                     QStringLiteral("%1 must be a whole number from 0 to %2")
                         .arg(FromUtf8(key))
                         .arg(kMostAddress));
            return std::nullopt;
        }
        return static_cast<int>(number->get());
    }

    template <class Visit>
    void ForEachTable(const toml::table& table, std::string_view key, const QString& owner, Visit visit)
    {
        const toml::node* node = table.get(key);
        if (node == nullptr)
            return;
        const auto wrong = [&](const toml::node& place) {
            Complain(place.source(),
                     QStringLiteral("%1 of %2 must be tables, each with double brackets")
                         .arg(FromUtf8(key), owner));
        };
        const toml::array* list = node->as_array();
        if (list == nullptr) {
            wrong(*node);
            return;
        }
        for (const toml::node& entry : *list) {
            if (const toml::table* one = entry.as_table())
                visit(*one);
            else
                wrong(entry);
        }
    }

    /// A name that is there. Values files have items as keys, classes and subclasses as sections.
    QString Name(const toml::table& table, const QString& what, bool isKey)
    {
        const QString name = Text(table, "name");
        const toml::node* node = table.get("name");
        const toml::source_region& place = node == nullptr ? table.source() : node->source();
        if (node == nullptr || (name.isEmpty() && node->is_string()))
            Complain(place, QStringLiteral("%1 has no name").arg(what));
        else if (!name.isEmpty() && isKey && !ProfileFile::CanHold(u"x", name, u""))
            Complain(
                place,
                QStringLiteral("%1 cannot be the name of an item: no \"=\", no line end, no blank at an end, "
                               "no \";\" or \"[\" in front, since values files have it as a key")
                    .arg(Quoted(name)));
        else if (!name.isEmpty() && !isKey && !ProfileFile::CanHold(name, u"x", u""))
            Complain(
                place,
                QStringLiteral("%1 cannot be a name: no \"]\", no line end, no blank at an end, since values "
                               "files have it in a section")
                    .arg(Quoted(name)));
        return name;
    }

    /// Notes a name that was there before, ignoring letter case as values files do.
    void Unique(QHash<QString, int>& seen, const QString& name, const toml::table& table, const QString& what)
    {
        const toml::node* node = table.get("name");
        if (name.isEmpty() || node == nullptr)
            return;
        const int line = static_cast<int>(node->source().begin.line);
        const auto before = seen.constFind(name.toCaseFolded());
        if (before != seen.cend())
            Complain(
                node->source(),
                QStringLiteral("%1 %2 is there already, in line %3").arg(what, Quoted(name)).arg(*before));
        else
            seen.insert(name.toCaseFolded(), line);
    }

    void AddClass(const toml::table& table)
    {
        CheckKeys(table, {"name", "subclass"}, QStringLiteral("a class"));
        DataClass& one = m_tree.Classes.emplace_back();
        one.Name = Name(table, QStringLiteral("the class"), false);
        Unique(m_classNames, one.Name, table, QStringLiteral("class"));
        ForEachTable(table, "subclass", QStringLiteral("a class"),
                     [&](const toml::table& entry) { AddSubClass(entry, one); });
    }

    void AddSubClass(const toml::table& table, DataClass& owner)
    {
        CheckKeys(table, {"name", "id", "length", "item"}, QStringLiteral("a subclass"));
        SubClass& subClass = owner.SubClasses.emplace_back();
        subClass.Name = Name(table, QStringLiteral("the subclass"), false);
        // together with the class it is a section of a values file
        Unique(m_sections, subClass.Name + u'(' + owner.Name + u')', table, QStringLiteral("subclass"));
        AddId(table, subClass);

        QHash<QString, int> names;
        std::vector<Extent> extents;
        int end = 0;
        ForEachTable(table, "item", QStringLiteral("a subclass"), [&](const toml::table& entry) {
            subClass.Items.push_back(MakeItem(entry, end));
            const DataItem& item = subClass.Items.back();
            Unique(names, item.Name, entry, QStringLiteral("item"));
            if (const std::optional<int> width = WidthOf(item.DataType)) {
                const toml::node* offset = entry.get("offset");
                extents.push_back({item.Offset, item.Offset + *width, item.Name,
                                   offset == nullptr ? entry.source() : offset->source()});
                end = extents.back().End;
            }
        });
        CheckOverlaps(extents);
        SetLength(table, extents, subClass);
    }

    void AddId(const toml::table& table, SubClass& subClass)
    {
        const toml::node* node = table.get("id");
        if (node == nullptr) {
            Complain(table.source(), QStringLiteral("subclass %1 has no id").arg(Quoted(subClass.Name)));
            return;
        }
        const std::optional<int> id = Number(table, "id");
        if (!id)
            return;
        subClass.Id = static_cast<std::uint16_t>(*id);
        const auto before = m_ids.constFind(*id);
        if (before != m_ids.cend())
            Complain(node->source(),
                     QStringLiteral("subclass id %1 is there already, in line %2").arg(*id).arg(*before));
        else
            m_ids.insert(*id, static_cast<int>(node->source().begin.line));
    }

    /// Bytes of an item within its subclass.
    struct Extent {
        int Start;
        int End; ///< behind the last byte
        QString Name;
        toml::source_region Place;
    };

    void CheckOverlaps(std::vector<Extent> extents)
    {
        std::ranges::stable_sort(extents, {}, &Extent::Start);
        const Extent* before = nullptr; // the one that reaches furthest
        for (const Extent& extent : extents) {
            if (before != nullptr && extent.Start < before->End) {
                // the one further down in the file is the one to be put right
                const bool swapped = extent.Place.begin.line < before->Place.begin.line;
                const Extent& later = swapped ? *before : extent;
                const Extent& earlier = swapped ? extent : *before;
                Complain(later.Place,
                         QStringLiteral("item %1, bytes %2 to %3, overlaps %4, bytes %5 to %6 (line %7)")
                             .arg(Quoted(later.Name))
                             .arg(later.Start)
                             .arg(later.End - 1)
                             .arg(Quoted(earlier.Name))
                             .arg(earlier.Start)
                             .arg(earlier.End - 1)
                             .arg(earlier.Place.begin.line));
            }
            if (before == nullptr || extent.End > before->End)
                before = &extent;
        }
    }

    void SetLength(const toml::table& table, const std::vector<Extent>& extents, SubClass& subClass)
    {
        int length = 0;
        for (const Extent& extent : extents)
            length = std::max(length, extent.End);
        if (const std::optional<int> stated = Number(table, "length")) {
            for (const Extent& extent : extents)
                if (extent.End > *stated)
                    Complain(extent.Place,
                             QStringLiteral("item %1 ends behind its subclass: bytes %2 to %3 of %4")
                                 .arg(Quoted(extent.Name))
                                 .arg(extent.Start)
                                 .arg(extent.End - 1)
                                 .arg(*stated));
            length = *stated;
        }
        if (length > kMostAddress)
            Complain(table.source(),
                     QStringLiteral("subclass %1 is longer than %2 bytes")
                         .arg(Quoted(subClass.Name))
                         .arg(kMostAddress));
        m_bytes += length;
        if (m_bytes > kMostBytes) {
            if (m_bytes - length <= kMostBytes)
                Complain(
                    table.source(),
                    QStringLiteral("the subclasses up to here are longer than %1 bytes").arg(kMostBytes));
            return;
        }
        subClass.Buffer.resize(static_cast<std::size_t>(length));
    }

    DataItem MakeItem(const toml::table& table, int next)
    {
        CheckKeys(table,
                  {"name", "full-name", "type", "offset", "value", "default", "min", "max", "read", "write",
                   "format", "units", "help", "private"},
                  QStringLiteral("an item"));
        DataItem item;
        item.Name = Name(table, QStringLiteral("the item"), true);
        item.FullName = Text(table, "full-name");
        item.DataType = Text(table, "type");
        item.Offset = Number(table, "offset").value_or(next);
        item.ReadFormula = Text(table, "read");
        item.WriteFormula = Text(table, "write");
        item.DisplayFmt = Text(table, "format");
        item.Units = Text(table, "units");
        item.HelpText = Text(table, "help");
        if (const toml::node* node = table.get("private")) {
            if (!node->is_boolean())
                Complain(node->source(), QStringLiteral("private must be true or false"));
            else
                item.Private = node->as_boolean()->get();
        }
        CheckType(table, item);
        return item;
    }

    void CheckType(const toml::table& table, DataItem& item)
    {
        const std::optional<DataTypeForm> type = ParseDataType(item.DataType);
        if (!type) {
            const toml::node* node = table.get("type");
            if (node == nullptr)
                Complain(table.source(), QStringLiteral("item %1 has no type").arg(Quoted(item.Name)));
            else if (node->is_string())
                Complain(node->source(),
                         QStringLiteral(
                             "there is no data type %1: give I1, U1, H1, the same with 2 or 4, F4, or S "
                             "and 1 to 256")
                             .arg(Quoted(item.DataType)));
            return;
        }
        if (type->What == DataTypeForm::Kind::Text) {
            for (const std::string_view key : {"min", "max", "read", "write", "format"})
                if (const toml::node* node = table.get(key))
                    Warn(node->source(), QStringLiteral("%1 says nothing about a string").arg(FromUtf8(key)));
            item.ReadFormula = item.WriteFormula = item.DisplayFmt = QString();
        } else {
            item.MinVal = Value(table, "min", item, *type);
            item.MaxVal = Value(table, "max", item, *type);
            CheckLimits(table, item, *type);
        }
        item.DefValue = Value(table, "default", item, *type);
        item.Value = Value(table, "value", item, *type);
        for (const auto& [key, text] : {std::pair("default", item.DefValue), std::pair("value", item.Value)})
            if (const QString problem = CheckRange(item, text); !problem.isEmpty())
                Complain(table.get(key)->source(), QStringLiteral("%1 %2").arg(QLatin1String(key), problem));
        if (type->What != DataTypeForm::Kind::Text)
            CheckFormulas(table, item, *type);
    }

    /// A number or a text as the native text of the item.
    QString Value(const toml::table& table, std::string_view key, const DataItem& item,
                  const DataTypeForm& type)
    {
        const toml::node* node = table.get(key);
        if (node == nullptr)
            return {};
        const bool isText = type.What == DataTypeForm::Kind::Text;
        QString native;
        if (const auto* text = node->as_string())
            native = isText ? Cut(*node, key, FromUtf8(text->get())) : FromUtf8(text->get()).trimmed();
        else if (isText || !node->is_number()) {
            Complain(node->source(),
                     QStringLiteral("%1 must be %2")
                         .arg(FromUtf8(key),
                              isText ? QStringLiteral("a text in quotes")
                                     : QStringLiteral("a number, or its text in quotes")));
            return {};
        } else {
            native = NumberText(*node, type);
        }
        if (native.isEmpty())
            return {};
        const ItemText normal = NormalNative(item, native);
        if (!normal.Ok())
            Complain(node->source(),
                     QStringLiteral("%1 of a %2: %3").arg(FromUtf8(key), item.DataType, normal.Error));
        else if (type.What == DataTypeForm::Kind::Float && key == "default")
            CheckFloat(node->source(), native, normal.Text);
        return normal.Text;
    }

    static QString NumberText(const toml::node& node, const DataTypeForm& type)
    {
        const bool hexadecimal = type.What == DataTypeForm::Kind::Hex;
        if (const auto* integer = node.as_integer())
            return hexadecimal && integer->get() >= 0 ? QString::number(integer->get(), 16)
                                                      : QString::number(integer->get());
        const double number = node.as_floating_point()->get();
        if (hexadecimal && number >= 0 && number == std::floor(number) && number <= 0xFFFF'FFFF)
            return NativeText(type, number);
        return QString::number(number, 'g', 17);
    }

    /// What a float of the gauge makes of a value that is not its own.
    void CheckFloat(const toml::source_region& place, const QString& given, const QString& normal)
    {
        const double number = normal.toDouble();
        const double wanted = given.toDouble();
        if (number <= -0.5)
            Warn(place,
                 QStringLiteral("%1 reads back as 0: this float format loses negative numbers from -0.5 "
                                "down")
                     .arg(normal));
        else if (std::abs(number - wanted) > std::abs(wanted) * 1e-6)
            Warn(place,
                 QStringLiteral("%1 is taken as %2: values are shown with 6 decimals; give the item "
                                "formulas that scale it")
                     .arg(given, normal));
    }

    void CheckLimits(const toml::table& table, const DataItem& item, const DataTypeForm& type)
    {
        const std::optional<double> least = NativeNumber(type, item.MinVal);
        const std::optional<double> most = NativeNumber(type, item.MaxVal);
        if (least && most && *least > *most)
            Complain(table.get("max")->source(),
                     QStringLiteral("the limits are the wrong way round: min %1, max %2")
                         .arg(item.MinVal, item.MaxVal));
    }

    /// Tries formulas and format on the values the item will meet; a formula that fails on all of them is
    /// wrong, one that fails on some may divide by x.
    void CheckFormulas(const toml::table& table, const DataItem& item, const DataTypeForm& type)
    {
        QString problem;
        bool any = false;
        std::vector<std::pair<QString, QString>> shown;
        for (const QString& native :
             {item.DefValue, item.MinVal, item.MaxVal, NativeText(type, 1), NativeText(type, 2)}) {
            if (native.isEmpty())
                continue;
            const ItemText text = ConvertDisplayNative(item, native, TextDirection::NativeToShown);
            if (text.Ok())
                shown.emplace_back(native, text.Text);
            else if (problem.isEmpty())
                problem = text.Error;
            any = any || text.Ok();
        }
        if (!any) {
            const bool formula = problem.startsWith(u"read formula");
            const toml::node* node = table.get(formula ? "read" : "format");
            Complain(node == nullptr ? table.source() : node->source(), problem);
            return;
        }
        any = false;
        for (const auto& [native, text] : shown) {
            const ItemText back = ConvertDisplayNative(item, text, TextDirection::ShownToNative);
            any = any || back.Ok();
            if (!back.Ok() && problem.isEmpty())
                problem = back.Error;
        }
        const toml::node* node = table.get("write");
        const toml::source_region& place = node == nullptr ? table.source() : node->source();
        if (!any && node != nullptr)
            Complain(place, problem);
        else
            CheckWayBack(place, item, shown);
    }

    /// A shown value that is typed again should be what it was.
    void CheckWayBack(const toml::source_region& place, const DataItem& item,
                      const std::vector<std::pair<QString, QString>>& shown)
    {
        if (item.DisplayFmt.trimmed().startsWith(u'b')) // shows some of the bits
            return;
        for (const auto& [native, text] : shown) {
            const ItemText back = ConvertDisplayNative(item, text, TextDirection::ShownToNative);
            if (back.Ok() && back.Text == native)
                continue;
            Warn(place,
                 QStringLiteral("item %1: %2 is shown as %3, which is stored as %4 when it is typed")
                     .arg(Quoted(item.Name), native, text,
                          back.Ok() ? back.Text : QStringLiteral("nothing: ") + back.Error));
            return;
        }
    }

    DataFlashTree& m_tree;
    std::vector<CfgProblem>& m_problems;
    bool m_unsound = false;
    int m_bytes = 0;
    QHash<QString, int> m_classNames;
    QHash<QString, int> m_sections;
    QHash<int, int> m_ids;
};

} // namespace

std::int32_t ParseDataFlashCfg(const QByteArray& bytes, DataFlashTree& tree,
                               std::vector<CfgProblem>& problems)
{
    problems.clear();
    const toml::parse_result parsed
        = toml::parse(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
    if (!parsed) {
        const toml::source_position place = parsed.error().source().begin;
        problems.push_back({static_cast<int>(place.line), static_cast<int>(place.column),
                            QStringLiteral("not TOML: ") + FromUtf8(parsed.error().description())});
        return kNoToml;
    }
    DataFlashTree fresh;
    Builder builder(fresh, problems);
    builder.Build(parsed.table());
    if (!builder.Sound())
        return kUnsound;
    tree = std::move(fresh);
    return 0;
}
