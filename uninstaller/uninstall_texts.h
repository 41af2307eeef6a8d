#pragma once

#include <string>

#include "config/tool_config.h"
#include "uninstaller/client_removal.h"
#include "uninstaller/uninstall_guard.h"

// The uninstaller's texts. Pure functions.

std::wstring CaptionText(const ToolConfig& config);

// The question: which game, which folder, and how much will be deleted.
std::wstring QuestionText(const ToolConfig& config, const std::wstring& folder,
                          const ClientContent& content);

// The reason why nothing was removed.
std::wstring RefusalText(const ToolConfig& config, const Verdict& verdict);

// The result, with everything that remains.
std::wstring ReportText(const ToolConfig& config, const RemovalResult& result);
