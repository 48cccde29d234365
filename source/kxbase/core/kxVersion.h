// Version of the library, as it stands in reports and crash files.
#pragma once

constexpr const char* KX_LIBRARY_VERSION = "2.10.5";
// The module under which the library's texts are translated.
constexpr const char* KX_MODULE_NAME = "KorvexSDK";
