// The texts of status codes, of HTTP (RFC 2068) and of RTSP (RFC 2326).
#pragma once

// Never null; "Unknown error" for a code without a text. What a server itself says is kxHttpMessage::reason().
const char* kxHttpStatusText(int code) noexcept;
