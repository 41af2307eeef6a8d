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

// Why nothing was removed. `registeredFolder` is named where the entry leads elsewhere.
std::wstring RefusalText(Refusal refusal, const ToolConfig& config,
                         const std::wstring& registeredFolder);

// What became of it, with what stayed.
std::wstring ReportText(const ToolConfig& config, const RemovalResult& result);
