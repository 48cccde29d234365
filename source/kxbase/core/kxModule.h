// The module under which the library's texts are translated, and who sends its messages unless a program says
// otherwise.
#pragma once

constexpr const char* KX_MODULE_NAME = "KorvexSDK";
