#include "kxbase/protocol/kxHttpMethod.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::string_view kNames[] = {"OPTIONS", "GET", "HEAD", "POST", "PUT", "DELETE", "TRACE"};
static_assert(std::size(kNames) == KX_HTTP_METHOD_COUNT, "one name for every method");

}  // namespace

const char* kxHttpMethodName(kxHttpMethod method) noexcept
{
    return method < KX_HTTP_METHOD_COUNT ? kNames[method].data() : "";
}

kxHttpMethod kxHttpFindMethod(std::string_view name) noexcept
{
    return static_cast<kxHttpMethod>(std::find(std::begin(kNames), std::end(kNames), name) - kNames);
}
