// kxrelay: joins two endpoints named by URLs, or pings one of them.

#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxUntrackedScope.h"
#include "kxbase/factory/PurlURLManagerInterface.h"
#include "kxbase/lex/kxArgumentParser.h"
#include "kxbase/platform/kxPlatformConsole.h"
#include "kxbase/program/kxProgramExecution.h"
#include "kxbase/serialize/DummyURLManagerInterface.h"
#include "kxbase/serialize/kxEncoderURLManager.h"
#include "kxbase/serialize/kxSerializeAdapterBCDEncoder.h"
#include "kxbase/serialize/kxSerializeAdapterBase64Encoder.h"
#include "kxbase/serialize/kxUrlRegistry.h"
#include "kxbase/thread/kxThread.h"
#include "tool/kxRelay.h"

#include <cstdlib>
#include <exception>

namespace {

constexpr int kFailed = 99;
constexpr const char* kDefaultInputUrl = "udp::45455?nic=127.0.0.1&blocking=no&echo=yes";
constexpr const char* kDefaultOutputUrl = "con:";
constexpr std::uint32_t kPingIntervalMilliseconds = 1000;

using Adapter = kxRefPointer<kxSerializeAdapter>;

bool isUsable(const Adapter& adapter)
{
    return adapter && !adapter->hasError();
}

// Adds the schemes that the library leaves to its programs.
void registerSchemes()
{
    const kxUntrackedScope scope;  // the registry keeps them as long as the process lives
    kxUrlRegistry& registry = kxUrlRegistry::instance();
    registry.addManager("dummy:", kxMakeRef<DummyURLManagerInterface>());
    registry.addManager("purl:", kxMakeRef<PurlURLManagerInterface>());
    registry.addManager("hex:", kxMakeRef<kxEncoderURLManager<kxSerializeAdapterBCDEncoder>>());
    registry.addManager("b64:", kxMakeRef<kxEncoderURLManager<kxSerializeAdapterBase64Encoder>>());
}

// Ends the process without closing the endpoints first.
[[noreturn]] void fail()
{
    std::exit(kFailed);
}

[[noreturn]] void ping(kxSerializeAdapter& output)
{
    for (;;) {
        kxRelay::writePing(output);
        kxThread::sleep(kPingIntervalMilliseconds);
    }
}

void relay(int argumentCount, const char* const* arguments)
{
    kxArgumentParser parser(argumentCount, arguments, "-");
    const kxString inputUrl = parser.getOptionValue("URL", kDefaultInputUrl);
    Adapter input = kxSerializeAdapter::getAdapter(inputUrl, KX_SERIALIZE_INPUT);
    // A bad input does not keep the output from being opened.
    const kxString outputUrl = parser.getOptionValue("output", kDefaultOutputUrl);
    Adapter output = kxSerializeAdapter::getAdapter(outputUrl, KX_SERIALIZE_OUTPUT | KX_SERIALIZE_INPUT);
    if (!isUsable(input)) {
        kxMessage(KX_MESSAGE_FATAL, "Error in input adapter %s", inputUrl);
        fail();
    }
    if (!isUsable(output)) {
        kxMessage(KX_MESSAGE_FATAL, "Error in output adapter");
        fail();
    }
    if (parser.hasOption("ping")) ping(*output);
    kxRelay(*input, inputUrl, *output, outputUrl).run();
}

}  // namespace

int main(int argumentCount, char** arguments)
{
    kxPlatformConsoleOpenStreams();
    kxProgramExecution::install();
    try {
        registerSchemes();
        relay(argumentCount, arguments);
    } catch (const std::exception& error) {
        kxMessage(KX_MESSAGE_FATAL, "KORVEX Fatal System Error ! %s", error.what());
        fail();
    }
    return 0;
}
