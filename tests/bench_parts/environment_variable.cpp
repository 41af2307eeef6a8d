#include "bench_parts/environment_variable.h"

#include <utility>

#include "common/windows_api.h"

namespace bench {
namespace {

std::optional<std::wstring> ReadVariable(const std::wstring& name) {
    std::wstring value(32'768, L'\0');
    ::SetLastError(ERROR_SUCCESS);
    const DWORD length =
        ::GetEnvironmentVariableW(name.c_str(), value.data(), static_cast<DWORD>(value.size()));
    if (length == 0 && ::GetLastError() == ERROR_ENVVAR_NOT_FOUND) {
        return std::nullopt;
    }
    value.resize(length);
    return value;
}

}  // namespace

EnvironmentVariable::EnvironmentVariable(std::wstring name,
                                         const std::optional<std::wstring>& value)
    : name_(std::move(name)), former_(ReadVariable(name_)) {
    ::SetEnvironmentVariableW(name_.c_str(), value ? value->c_str() : nullptr);
}

EnvironmentVariable::~EnvironmentVariable() {
    ::SetEnvironmentVariableW(name_.c_str(), former_ ? former_->c_str() : nullptr);
}

}  // namespace bench
