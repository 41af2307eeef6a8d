#pragma once

#include <gtest/gtest.h>

#include <filesystem>

#include "bench_parts/scratch_folder.h"
#include "common/tool_instance.h"
#include "config/tool_config.h"

namespace bench {

// A fresh client folder with a tool that has just started in it: default configuration,
// "patcher.exe" as startup program, no file there yet. Everything is put back afterwards.
class ClientFolderTest : public testing::Test {
protected:
    ClientFolderTest() {
        toolFolder = scratch_.Path() / L"Spiel \u00fc";
        toolExePath = std::filesystem::path(toolFolder) / L"repair.exe";
        std::filesystem::create_directory(toolFolder);
        toolConfig = ToolConfig{};
        toolConfig.startupExe = L"patcher.exe";
    }

    ~ClientFolderTest() override {
        toolFolder.clear();
        toolExePath.clear();
        toolConfig = ToolConfig{};
    }

    // The folder above the client folder, for what must be outside of it.
    [[nodiscard]] const std::filesystem::path& Outside() const {
        return scratch_.Path();
    }

private:
    ScratchFolder scratch_;
};

}  // namespace bench
