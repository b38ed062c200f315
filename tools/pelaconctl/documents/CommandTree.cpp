#include <tools/pelaconctl/Program.h>
#include <tools/pelaconctl/documents/CommandTree.h>

#include <CLI/CLI.hpp>

namespace pelacon::ctl {

namespace {

DocumentedOption ReadOption(const CLI::Option& option)
{
    DocumentedOption read;
    read.isArgument = option.get_positional();
    if (read.isArgument) {
        read.names.push_back(option.get_name(true));
    }
    for (const std::string& name : option.get_snames()) {
        read.names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        read.names.push_back("--" + name);
    }
    const bool isFlag = option.get_items_expected_max() == 0;
    read.value = isFlag || read.isArgument ? "" : option.get_type_name();
    read.description = option.get_description();
    read.isRequired = option.get_required();
    read.isRepeated = option.get_items_expected_max() > 1;
    return read;
}

}  // namespace

DocumentedCommand ReadTree(const CLI::App& program)
{
    DocumentedCommand command;
    command.path = FullName(program);
    command.name = program.get_name();
    command.description = program.get_description();
    command.footer = program.get_footer();
    for (const CLI::Option* option : program.get_options()) {
        command.options.push_back(ReadOption(*option));
    }
    for (const CLI::App* subcommand :
         program.get_subcommands([](const CLI::App*) { return true; })) {
        command.subcommands.push_back(ReadTree(*subcommand));
    }
    return command;
}

}  // namespace pelacon::ctl
