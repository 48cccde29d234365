// Version of the library, as it stands in reports and crash files.
#pragma once

constexpr const char* KX_LIBRARY_VERSION = "2.10.5";
// Name of the library's unit, and the module under which its texts are translated.
constexpr const char* KX_LIBRARY_NAME = "kxbase";
constexpr const char* KX_MODULE_NAME = "KorvexSDK";
