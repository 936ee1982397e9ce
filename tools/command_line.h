#pragma once
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

// What the verbs need to describe their command lines. The parser's own headers take long to compile: they stay
// in the source. A description that contradicts itself, by a name twice or one that is not there, is a mistake in the
// program and throws a std::runtime_error at each start.
namespace OrvelTool {

/// An option, argument or flag of a verb: a handle, free to copy. Its methods say more of it and return it again.
class Option {
public:
    explicit Option(CLI::Option& option) : option_(&option) {}

    Option required();
    /// Lists it in the help under this heading.
    Option group(const std::string& heading);
    /// Only whole numbers from least to most are taken.
    Option range(int least, int most);
    /// Only these values are taken.
    Option oneOf(const std::vector<std::string>& values);
    /// It is taken only with, or only without, another option that the verb already has.
    Option needs(const std::string& other);
    Option excludes(const std::string& other);

private:
    CLI::Option* option_;
};

/// A word of the command line that stands for an action, or for a choice of further verbs: a handle, free to copy.
class Verb {
public:
    explicit Verb(CLI::App& app) : app_(&app) {}

    /// A verb below this one; the command line must then name exactly one of those.
    Verb addVerb(const std::string& name, const std::string& help);

    /// An option with its names, "--output-format,--to", or an argument, "INPUT", by its place among the arguments.
    /// @param value gets what the command line gives and else stays as it is; it must outlive the parsing. A
    ///        std::string, an int, a std::uint32_t, or an optional std::int32_t or std::uint32_t.
    template <class Value>
    Option addOption(const std::string& names, Value& value, const std::string& help);
    /// An option without a value, which sets one to true.
    Option addFlag(const std::string& name, bool& value, const std::string& help);

    /// The text below the options in the help.
    void footer(const std::string& text);
    /// What the verb does, once its options have their values. What it throws leaves CommandLine::run().
    void action(std::function<void()> run);

private:
    CLI::App* app_;
};

/// A command line that makes no sense; what() tells why, and may quote control characters.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The command line of the program, with a --help of its own and one for each verb.
class CommandLine {
public:
    CommandLine(const std::string& name, const std::string& help);
    ~CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    /// The program as the verb that all others are below.
    Verb program() { return Verb(*app_); }

    /// Runs the verb that the arguments name, or prints the help that they ask for.
    /// @return whether a verb ran. Throws UsageError, and what the verb throws.
    [[nodiscard]] bool run(int argc, char** argv);

private:
    std::unique_ptr<CLI::App> app_;
};

}  // namespace OrvelTool
