// What the tool says and how it is run.
#pragma once

#include "support/kxProcess.h"
#include "support/kxTest.h"

// What it writes in front of everything else.
inline std::string kxNoticeOf(const std::string& url, const std::string& output)
{
    return "Opened URL '" + url + "' with output '" + output + "'\r\n";
}

inline std::vector<std::string> kxArgumentsOf(const std::string& url, const std::string& output)
{
    return {"-URL", url, "-output", output};
}
