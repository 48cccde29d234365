#include "kxbase/serialize/kxSerializeAdapterStdIO.h"
#include "support/kxProcess.h"
#include "support/kxPseudoTerminal.h"
#include "support/kxTest.h"

#include <unistd.h>

namespace {

using Console = kxSerializeAdapterStdIO;

}  // namespace

// Runs itself as the program that asks before and after it has begun to end.
TEST(kxSerializeAdapterStdIO, ReadsLinesWhenTheProcessEnds)
{
    constexpr const char* kName = "KX_TEST_CONSOLE_PROGRAM";
    if (std::getenv(kName) != nullptr) {
        std::atexit([] { ::_exit(kxMakeRef<Console>()->readByte()); });
        std::exit(kxMakeRef<Console>()->readByte());
    }
    kxPseudoTerminal terminal;
    const termios before = terminal.attributes();
    kxProcess program(std::filesystem::read_symlink("/proc/self/exe"),
                      {.arguments = {"--gtest_filter=*ReadsLinesWhenTheProcessEnds"},
                       .environment = {{kName, "yes"}},
                       .terminal = &terminal});
    EXPECT_TRUE(kxAwait([&] { return (terminal.attributes().c_lflag & ECHO) == 0; }));
    EXPECT_TRUE(terminal.send("x"));
    EXPECT_TRUE(kxAwait([&] { return kxSameAttributes(terminal.attributes(), before); }));
    EXPECT_TRUE(terminal.send("zz\x15y\r")) << "a line that is edited";
    EXPECT_EQ(program.wait(), kxExited('y'));
}
