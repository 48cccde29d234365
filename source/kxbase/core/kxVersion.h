// Version of the library, as it stands in reports and crash files.
#pragma once

// The version that the build gives the project; constant-initialised.
extern const char* const KX_LIBRARY_VERSION;
