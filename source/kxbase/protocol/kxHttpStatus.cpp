#include "kxbase/protocol/kxHttpStatus.h"

#include <algorithm>
#include <iterator>

namespace {

struct Status {
    int code;
    const char* text;
};

constexpr Status kStatuses[] = {
    {100, "Continue"},
    {200, "OK"},
    {201, "Created"},
    {250, "Low on Storage Space"},
    {300, "Multiple Choices"},
    {301, "Moved Permanently"},
    {302, "Moved Temporarily"},
    {303, "See Other"},
    {304, "Not Modified"},
    {305, "Use Proxy"},
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {402, "Payment Required"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {406, "Not Acceptable"},
    {407, "Proxy Authentication Required"},
    {408, "Request Time-out"},
    {410, "Gone"},
    {411, "Length Required"},
    {412, "Precondition Failed"},
    {413, "Request Entity Too Large"},
    {414, "Request-URI Too Large"},
    {415, "Unsupported Media Type"},
    {451, "Parameter Not Understood"},
    {452, "Conference Not Found"},
    {453, "Not Enough Bandwidth"},
    {454, "Session Not Found"},
    {455, "Method Not Valid in This State"},
    {456, "Header Field Not Valid for Resource"},
    {457, "Invalid Range"},
    {458, "Parameter Is Read-Only"},
    {459, "Aggregate operation not allowed"},
    {460, "Only aggregate operation allowed"},
    {461, "Unsupported transport"},
    {462, "Destination unreachable"},
    {500, "Internal Server Error"},
    {501, "Not Implemented"},
    {502, "Bad Gateway"},
    {503, "Service Unavailable"},
    {504, "Gateway Time-out"},
    {505, "RTSP Version not supported"},
    {551, "Option not supported"},
};

constexpr bool isBefore(const Status& left, const Status& right)
{
    return left.code < right.code;
}
static_assert(std::is_sorted(std::begin(kStatuses), std::end(kStatuses), isBefore), "found by halving");

}  // namespace

const char* kxHttpStatusText(int code) noexcept
{
    const Status* const found =
        std::lower_bound(std::begin(kStatuses), std::end(kStatuses), Status{code, nullptr}, isBefore);
    return found != std::end(kStatuses) && found->code == code ? found->text : "Unknown error";
}
