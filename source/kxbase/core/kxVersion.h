// Version of the library, as it stands in reports and crash files.
#pragma once

// The version that the build gives the project; constant-initialised.
extern const char* const KX_LIBRARY_VERSION;
// The module under which the library's texts are translated, and who sends its messages unless a program says
// otherwise.
constexpr const char* KX_MODULE_NAME = "KorvexSDK";
