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

// What a run of the tool under the memory check has said at its end.
inline void kxExpectNothingLost(const std::string& output)
{
    EXPECT_NE(output.find("-- End of Lost Memory Report"), std::string::npos);
    EXPECT_EQ(output.find("Lost mem "), std::string::npos) << output;
}
