#include "kit/commands.h"

namespace {

template <auto Read, auto Run>
ExitCode ReadAndRun(const CommandWords& words, Console& console) {
    const auto arguments = Read(words);
    console.SetMode({arguments.output.quiet, arguments.output.json});
    return Run(arguments, console);
}

constexpr Command kCommands[] = {
    {&kNewSyntax, ReadAndRun<ReadNewArguments, RunNew>},
    {&kPackSyntax, ReadAndRun<ReadPackArguments, RunPack>},
    {&kCheckSyntax, ReadAndRun<ReadCheckArguments, RunCheck>},
    {&kPreviewSyntax, ReadAndRun<ReadPreviewArguments, RunPreview>},
    {&kBuildSyntax, ReadAndRun<ReadBuildArguments, RunBuild>},
    {&kShowSyntax, ReadAndRun<ReadShowArguments, RunShow>},
};

}  // namespace

std::span<const Command> Commands() {
    return kCommands;
}
