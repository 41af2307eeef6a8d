// A package made by the kit, used by the tool in a repair.

#include <gtest/gtest.h>

#include "bench_parts/game_machine.h"
#include "kit/commands.h"

namespace {

namespace fs = std::filesystem;

class PackedClient : public bench::GameMachine {};

TEST_F(PackedClient, IsWhatARepairRestores) {
    const bench::ScratchFolder scratch;
    const fs::path client = scratch.Path() / L"client";
    bench::WriteFile(client / L"client.exe", "the game's program");
    bench::WriteFile(client / L"data" / L"large.bin", std::string(3'000'000, 'x') + "end");
    bench::WriteFile(client / L"data" / L"\u00fcb\u8aad" / L"a b.txt", "text");
    bench::WriteFile(client / L"data" / L"empty.txt", "");
    fs::create_directories(client / L"empty folder");
    const bench::Contents expected = bench::FolderContents(client);
    const fs::path package = bench::PackagePath(L"kit_packed.zip");
    PackArguments arguments;
    arguments.client = client;
    arguments.package = package;
    Console console;
    console.SetMode({true, false});
    ASSERT_EQ(RunPack(arguments, console), ExitCode::Done);
    bench::WriteFile(Client() / L"client.exe", "damaged");

    RunJob(JobKind::Repair, PackageUrl(L"kit_packed.zip"));

    ExpectSuccess(kRepairSuccess);
    EXPECT_EQ(bench::FirstDifference(expected, ClientContents()), "");
    fs::remove(package);
}

}  // namespace
