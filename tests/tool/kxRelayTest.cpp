#include "tool/kxRelay.h"

#include "kxbase/core/kxClock.h"
#include "kxbase/serialize/kxSerializeAdapterDummy.h"
#include "support/kxScriptedAdapter.h"
#include "support/kxTest.h"

namespace {

class kxRelayTest : public testing::Test {
protected:
    ~kxRelayTest() noexcept override {}

    kxScriptedAdapter::Journal journal;
    kxRefPointer<kxScriptedAdapter> input{new kxScriptedAdapter("in", journal)};
    kxRefPointer<kxScriptedAdapter> output{new kxScriptedAdapter("out", journal)};
    kxRelay relay{*input, "from:%s", *output, "to:"};
};

using Journal = kxScriptedAdapter::Journal;

}  // namespace

TEST_F(kxRelayTest, ServesInputToOutputFirstWithOneReadAndOneWriteEach)
{
    input->ready = "question";
    output->ready = "answer";
    EXPECT_TRUE(relay.turn());
    EXPECT_EQ(journal, Journal({"in.read 8", "out.write question", "out.flush", "out.read 6",
                                "in.write answer", "in.flush"}));
    journal.clear();
    EXPECT_TRUE(relay.turn());
    EXPECT_EQ(journal, Journal()) << "a side that has nothing ready is not read";
}

TEST_F(kxRelayTest, WritesOnlyWhatAShortReadDelivered)
{
    input->pushBack("ab", 2);
    input->ready = "cdef";
    input->shortRead = 2;
    relay.turn();
    EXPECT_EQ(output->written, "abcd") << "what was given back comes first";
    relay.turn();
    EXPECT_EQ(output->written, "abcdef");
    journal.clear();
    input->ready = "x";
    input->shortRead = 0;
    relay.turn();
    EXPECT_EQ(journal, Journal({"in.read 1"})) << "a read of nothing is neither written nor flushed";
}

TEST_F(kxRelayTest, OnlyAnErrorOfTheInputEndsIt)
{
    output->setError("gone");
    input->ready = "abc";
    EXPECT_TRUE(relay.turn());
    input->ready = "late";
    input->setError("broken");
    journal.clear();
    EXPECT_FALSE(relay.turn());
    EXPECT_EQ(journal, Journal()) << "nothing moves any more";
    relay.run();
    EXPECT_EQ(output->written, "abcOpened URL 'from:%s' with output 'to:'\r\n");
    EXPECT_EQ(journal[1], "out.flush") << "the notice is flushed";
}

TEST_F(kxRelayTest, IsIdleBetweenEndpointsThatNeverHaveAnything)
{
    const kxRefPointer<kxSerializeAdapterDummy> nothing{new kxSerializeAdapterDummy};
    kxRelay idle(*nothing, "dummy:", *output, "to:");
    const double start = kxClock::seconds();
    for (int turn = 0; turn < 200; ++turn) EXPECT_TRUE(idle.turn());
    EXPECT_GE(kxClock::seconds() - start, 0.05);
}

TEST_F(kxRelayTest, APingIsSixCharactersAndAZeroByteUnflushed)
{
    kxRelay::writePing(*output);
    EXPECT_EQ(output->written, std::string("Ping\r\n\0", 7));
    EXPECT_EQ(journal, Journal({"out.write Ping\r\n"}));
}
