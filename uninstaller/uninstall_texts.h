#pragma once

#include <string>

#include "config/tool_config.h"
#include "uninstaller/client_removal.h"
#include "uninstaller/uninstall_guard.h"

// What the uninstaller says. Pure functions of their arguments.

std::wstring CaptionText(const ToolConfig& config);

// The one question: which game, which folder, and how much goes.
std::wstring QuestionText(const ToolConfig& config, const std::filesystem::path& folder,
                          const ClientContent& content);

// Why nothing was removed.
std::wstring RefusalText(const ToolConfig& config, const Verdict& verdict);

// What became of it, with what stayed.
std::wstring ReportText(const ToolConfig& config, const RemovalResult& result);
