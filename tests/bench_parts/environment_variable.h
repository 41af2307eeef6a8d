#pragma once

#include <optional>
#include <string>

namespace bench {

// Sets an environment variable of this process, or removes it, as long as the object lives.
class EnvironmentVariable {
public:
    EnvironmentVariable(std::wstring name, const std::optional<std::wstring>& value);
    ~EnvironmentVariable();
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    std::wstring name_;
    std::optional<std::wstring> former_;
};

}  // namespace bench
