#include "tools/command_line.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <utility>

namespace OrvelTool {

Option Option::required() {
    option_->required();
    return *this;
}

Option Option::group(const std::string& heading) {
    option_->group(heading);
    return *this;
}

Option Option::range(int least, int most) {
    option_->check(CLI::Range(least, most));
    return *this;
}

Option Option::oneOf(const std::vector<std::string>& values) {
    option_->check(CLI::IsMember(values));
    return *this;
}

Option Option::needs(const std::string& other) {
    option_->needs(other);
    return *this;
}

Option Option::excludes(const std::string& other) {
    option_->excludes(other);
    return *this;
}

Verb Verb::addVerb(const std::string& name, const std::string& help) {
    app_->require_subcommand(1);
    return Verb(*app_->add_subcommand(name, help));
}

template <class Value>
Option Verb::addOption(const std::string& names, Value& value, const std::string& help) {
    return Option(*app_->add_option(names, value, help));
}

template Option Verb::addOption(const std::string&, std::string&, const std::string&);
template Option Verb::addOption(const std::string&, int&, const std::string&);
template Option Verb::addOption(const std::string&, std::uint32_t&, const std::string&);
template Option Verb::addOption(const std::string&, std::optional<std::int32_t>&, const std::string&);
template Option Verb::addOption(const std::string&, std::optional<std::uint32_t>&, const std::string&);

Option Verb::addFlag(const std::string& name, bool& value, const std::string& help) {
    return Option(*app_->add_flag(name, value, help));
}

void Verb::footer(const std::string& text) {
    app_->footer(text);
}

void Verb::action(std::function<void()> run) {
    app_->callback(std::move(run));
}

CommandLine::CommandLine(const std::string& name, const std::string& help)
    : app_(std::make_unique<CLI::App>(help, name)) {}

CommandLine::~CommandLine() = default;

bool CommandLine::run(int argc, char** argv) {
    try {
        app_->parse(argc, argv);
        return true;
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::Success)) throw UsageError(error.what());
        app_->exit(error);  // prints the help
        return false;
    }
}

}  // namespace OrvelTool
