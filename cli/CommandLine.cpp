#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <string>

namespace {

constexpr int kMostTexts = 1'000'000; // of a list argument

const std::vector<ArgumentSpec>& GlobalSpecs()
{
    static const std::vector<ArgumentSpec> specs{
        {"--json", "Answer with one JSON object (streams: one a line)", ArgumentKind::Switch},
        {"--yes", "Answer every question with Yes", ArgumentKind::Switch},
        {"--no", "Answer every question with No (as without either)", ArgumentKind::Switch},
        {"--home", "Program folder: settings, targets and tables"},
        {"--target", "Configuration file of the target, relative to the program folder"},
        {"--address", "Bus address of the gauge in 8-bit form, such as 0x16", ArgumentKind::Number, false, 0,
         255},
        {"--adapter", "auto, real, sim, i2c:/dev/i2c-N or replay:FILE"},
        {"--trace", "Record every bus call in this file"},
    };
    return specs;
}

const ArgumentSpec kBatch{"--batch",
                          "Read calls from this file, one JSON object a line; - is standard input"};

/// @param required  let the parser insist on required arguments; with --batch they come from the lines
void AddArguments(CLI::App& app, const std::vector<ArgumentSpec>& specs, bool required = false)
{
    for (const ArgumentSpec& spec : specs) {
        if (spec.Kind == ArgumentKind::Switch) {
            app.add_flag(spec.Name, spec.Help);
            continue;
        }
        CLI::Option* option = app.add_option(
            spec.Name, [](const CLI::results_t&) { return true; }, spec.Help);
        option->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::Throw);
        if (spec.Kind == ArgumentKind::List)
            option->expected(1, kMostTexts)
                ->allow_extra_args()
                ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
        if (spec.Required && required)
            option->required();
        if (spec.IsOption())
            option->type_name(spec.Kind == ArgumentKind::Number ? "N" : "TEXT");
        else
            option->type_name(spec.Required ? "" : "(optional)");
    }
}

void TakeArguments(const CLI::App& app, const std::vector<ArgumentSpec>& specs, Arguments& arguments)
{
    for (const ArgumentSpec& spec : specs) {
        const CLI::Option* option = app.get_option(spec.Name);
        if (spec.Kind == ArgumentKind::Switch) {
            if (option->count() > 0)
                arguments.Add(spec.Key(), QStringLiteral("1"));
            continue;
        }
        for (const std::string& text : option->results())
            arguments.Add(spec.Key(), QString::fromStdString(text));
    }
}

/// The parser's object for every command, made word by word, so that "bus one-wire read" stands below "bus".
class AppTree {
public:
    AppTree(CLI::App& root, const std::vector<CommandSpec>& commands)
    {
        for (const CommandSpec& command : commands) {
            CLI::App* app = &root;
            for (const QString& word : QString::fromLatin1(command.Path).split(QLatin1Char(' '))) {
                const auto children = app->get_subcommands(
                    [&](const CLI::App* child) { return child->get_name() == word.toStdString(); });
                app = children.empty() ? app->add_subcommand(word.toStdString())->fallthrough()
                                       : children.front();
            }
            app->description(command.Summary);
            AddArguments(*app, command.Arguments, command.Batch == BatchForm::None);
            if (command.Batch != BatchForm::None)
                app->add_option(
                       kBatch.Name, [](const CLI::results_t&) { return true; }, kBatch.Help)
                    ->type_name("FILE");
            std::string footer = command.Examples.empty() ? "" : "Examples:";
            for (const char* example : command.Examples)
                footer += std::string("\n  ") + example;
            app->footer(footer);
            m_apps[app] = &command;
        }
        Limit(root);
    }

    /// The deepest command that the words named; nothing when they named a mere group of commands.
    const CommandSpec* Chosen(const CLI::App& root, const CLI::App*& app) const
    {
        app = &root;
        while (!app->get_subcommands().empty())
            app = app->get_subcommands().front();
        const auto found = m_apps.find(app);
        return found == m_apps.end() ? nullptr : found->second;
    }

private:
    /// One command a line; without this a later argument that happens to be a command's name would be taken
    /// as one.
    static void Limit(CLI::App& app)
    {
        if (!app.get_subcommands({}).empty())
            app.require_subcommand(0, 1);
        for (CLI::App* child : app.get_subcommands({}))
            Limit(*child);
    }
    std::map<const CLI::App*, const CommandSpec*> m_apps;
};

QString HelpHint(const CLI::App* app)
{
    QString words;
    for (; app && app->get_parent(); app = app->get_parent())
        words.prepend(QLatin1Char(' ') + QString::fromStdString(app->get_name()));
    return QStringLiteral("; \"tarnlo-cli%1 --help\" shows the usage").arg(words);
}

QString Children(const CLI::App& app)
{
    QStringList names;
    for (const CLI::App* child : app.get_subcommands({}))
        names << QString::fromStdString(child->get_name());
    return names.join(QLatin1String(", "));
}

QString TakeGlobals(const Arguments& given, GlobalOptions& globals)
{
    if (QString wrong = given.Check(GlobalSpecs()); !wrong.isEmpty())
        return wrong;
    globals.Json = given.On(QStringLiteral("json"));
    globals.Yes = given.On(QStringLiteral("yes"));
    globals.No = given.On(QStringLiteral("no"));
    if (globals.Yes && globals.No)
        return QStringLiteral("--yes and --no contradict each other: give one of them");
    globals.Home = given.Text(QStringLiteral("home"));
    globals.Target = given.Text(QStringLiteral("target"));
    globals.Adapter = given.Text(QStringLiteral("adapter"));
    globals.Trace = given.Text(QStringLiteral("trace"));
    if (given.Has(QStringLiteral("address"))) {
        const std::int64_t address = given.Number(QStringLiteral("address"));
        if (address % 2 != 0)
            return QStringLiteral(
                       "--address 0x%1 is odd: addresses are in 8-bit form, twice the 7-bit address "
                       "(0x0B is 0x16 here)")
                .arg(address, 2, 16, QLatin1Char('0'));
        globals.Address = static_cast<std::int16_t>(address);
    }
    return {};
}

} // namespace

ParsedLine ParseWords(const std::vector<CommandSpec>& commands, const QStringList& words)
{
    ParsedLine line;
    // needed even when the line cannot be parsed: the error is then answered in the form asked for
    line.Globals.Json = words.mid(0, words.indexOf(QLatin1String("--"))).contains(QLatin1String("--json"));

    CLI::App root("Reads and writes smart-battery gauges, their tables and files, without a window.",
                  "tarnlo-cli");
    root.set_help_flag("-h,--help", "Show this help");
    root.set_version_flag("--version", "tarnlo-cli " TARNLO_VERSION, "Show the version");
    root.footer("\"tarnlo-cli COMMAND --help\" shows a command's arguments and examples.\n"
                "Exit status: 0 done, 1 refused or failed, 2 wrong usage, 3 the adapter or the gauge did not "
                "answer.");
    AddArguments(root, GlobalSpecs());
    const AppTree tree(root, commands);

    std::vector<std::string> reversed; // as the parser wants them
    for (auto word = words.rbegin(); word != words.rend(); ++word)
        reversed.push_back(word->toStdString());
    const CLI::App* app = nullptr;
    try { // the parser knows no other way to report
        root.parse(reversed);
    } catch (const CLI::CallForHelp&) {
        line.Text = QString::fromStdString(root.help()).trimmed();
        return line;
    } catch (const CLI::CallForVersion& version) {
        line.Text = QString::fromUtf8(version.what());
        return line;
    } catch (const CLI::ParseError& error) {
        tree.Chosen(root, app);
        line.Error = QString::fromUtf8(error.what()) + HelpHint(app);
        return line;
    }

    line.Command = tree.Chosen(root, app);
    Arguments globals;
    TakeArguments(root, GlobalSpecs(), globals);
    line.Error = TakeGlobals(globals, line.Globals);
    if (line.Error.isEmpty() && !app->get_parent())
        line.Error = QStringLiteral("a command is missing");
    else if (line.Error.isEmpty() && !app->get_subcommands({}).empty()
             && (line.Command->Batch == BatchForm::None || app->get_option(kBatch.Name)->count() == 0))
        line.Error = QStringLiteral("a further word is missing: one of ") + Children(*app);
    if (line.Error.isEmpty()) {
        TakeArguments(*app, line.Command->Arguments, line.Arguments);
        const bool batch
            = line.Command->Batch != BatchForm::None && app->get_option(kBatch.Name)->count() > 0;
        if (batch)
            line.BatchFile = QString::fromStdString(app->get_option(kBatch.Name)->results().front());
        else
            line.Error = line.Arguments.Check(line.Command->Arguments);
    }
    if (!line.Error.isEmpty())
        line.Error += HelpHint(app);
    return line;
}
