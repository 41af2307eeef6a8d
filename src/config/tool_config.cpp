#include "config/tool_config.h"

ToolConfig toolConfig;
