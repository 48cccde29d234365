// The environment of the process.
#pragma once

// The value of a variable, or null when it is not set. Valid until the environment is changed.
const char* kxPlatformEnvironment(const char* name);
