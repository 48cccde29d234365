#include "kxbase/serialize/kxSerializeAdapterFile.h"
#include "support/kxPseudoTerminal.h"
#include "support/kxTest.h"

#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using File = kxRefPointer<kxSerializeAdapterFile>;

constexpr const char* kFileName = "the file";

class kxSerializeAdapterFileTest : public testing::Test {
protected:
    File open(std::uint32_t mode, bool append = false)
    {
        return File(new kxSerializeAdapterFile(directory.path(kFileName).c_str(), mode, append));
    }
    File openWith(const std::string& bytes)
    {
        directory.write(kFileName, bytes);
        return open(KX_SERIALIZE_INPUT);
    }
    std::string content() { return directory.read(kFileName); }

    kxTempDirectory directory;
};

// Translates every text into a format that shows nothing.
class EmptyTranslator : private kxMessageTranslatorInterface {
public:
    EmptyTranslator() { kxMessageManager::instance().setTranslator(this); }
    ~EmptyTranslator() override { kxMessageManager::instance().setTranslator(nullptr); }

private:
    kxString translate(std::string_view, const kxString&, std::uint32_t) override { return "%3$s"; }
};

void expectEnd(kxSerializeAdapter& adapter)
{
    EXPECT_TRUE(adapter.hasError());
    EXPECT_EQ(adapter.getError(), "End of file");
}

}  // namespace

TEST_F(kxSerializeAdapterFileTest, BlocksOfAnySizeReadTheSameBytes)
{
    const std::string bytes = kxTestPattern(2500000);
    for (const std::uint32_t step : {7U, 65536U, 999999U, 1000000U, 1000001U, 2000000U}) {
        SCOPED_TRACE(step);
        const File file = openWith(bytes);
        std::string got;
        for (std::string block; !(block = kxTestTake(*file, step)).empty();) got += block;
        EXPECT_TRUE(got == bytes);
    }
}

TEST_F(kxSerializeAdapterFileTest, NoticesItsEndByLookingAndNotByOpening)
{
    const File empty = openWith("");
    EXPECT_FALSE(empty->hasError());
    EXPECT_EQ(empty->length(), 0U);
    expectEnd(*empty);
    const File file = openWith("ab");
    EXPECT_EQ(file->readByte(), 'a');
    EXPECT_EQ(file->readByte(), 'b');
    EXPECT_FALSE(file->hasError()) << "nobody has asked for more";
    EXPECT_EQ(file->readByte(), 0);
    file->pushBack('c');
    EXPECT_FALSE(file->hasError()) << "a byte was given back";
    EXPECT_EQ(file->readChar(), 'c');
    EXPECT_TRUE(file->hasError());
}

TEST_F(kxSerializeAdapterFileTest, BlocksWriteWhatTheirBytesWould)
{
    const std::string bytes = kxTestPattern(3500000);
    for (const std::uint32_t step : {1U, 1000U, 333333U, 1000000U, 1000001U, 2000000U, 3500000U}) {
        SCOPED_TRACE(step);
        const File file = open(KX_SERIALIZE_OUTPUT);
        for (std::size_t at = 0; at < bytes.size(); at += step) kxTestWrite(*file, bytes.substr(at, step));
        EXPECT_EQ(file->getRemaining(), 3000000U) << "as many whole blocks as are followed by a byte";
        file->flush();
        EXPECT_TRUE(content() == bytes);
    }
}

TEST_F(kxSerializeAdapterFileTest, OpensForWritingAsAsked)
{
    // Both modes are writing with append, which may also be asked for.
    const std::tuple<std::uint32_t, bool, const char*> cases[] = {
        {KX_SERIALIZE_OUTPUT | KX_SERIALIZE_INPUT, false, "oldnew"},
        {KX_SERIALIZE_OUTPUT, true, "oldnew"},
        {KX_SERIALIZE_OUTPUT, false, "new"},
    };
    for (const auto& [mode, append, expected] : cases) {
        directory.write(kFileName, "old");
        File file = open(mode, append);
        file->write("new", 3);
        file = nullptr;  // flushes
        EXPECT_EQ(content(), expected);
    }
}

TEST_F(kxSerializeAdapterFileTest, SaysWhyItCouldNotOpen)
{
    const std::string place = directory.path();
    const std::tuple<std::string, std::uint32_t, std::string, std::string> cases[] = {
        {place + "/a%s b", KX_SERIALIZE_INPUT, "reading", "No such file or directory"},
        {"", KX_SERIALIZE_INPUT, "reading", "No such file or directory"},
        {place, KX_SERIALIZE_INPUT, "reading", "Is a directory"},
        {place, KX_SERIALIZE_OUTPUT, "writing", "Is a directory"},
        {place + "/x/y", 3, "writing", "No such file or directory"},
        {std::string("/dev/null\0x", 11), KX_SERIALIZE_INPUT, "reading", "Invalid argument"},
    };
    for (const auto& [name, mode, purpose, reason] : cases) {
        const File file(new kxSerializeAdapterFile(kxString(std::string_view(name)), mode, false));
        EXPECT_EQ(file->getError().view(),
                  "Could not open '" + name + "' for " + purpose + " (" + reason + ")");
        EXPECT_EQ(file->readByte() + file->length(), 0U);
        const EmptyTranslator translator;
        const File other(new kxSerializeAdapterFile(kxString(std::string_view(name)), mode, false));
        EXPECT_EQ(other->getError(), file->getError()) << "a translation of nothing is none";
    }
    const kxMessageRecorder messages;
    {
        const File file(new kxSerializeAdapterFile("/no/file", KX_SERIALIZE_OUTPUT, false));
        file->writeByte('x');
        file->flush();
        EXPECT_EQ(file->getError(), "Could not flush to file '/no/file'");
    }
    EXPECT_EQ(messages.texts().at(0), "1 bytes could not be written to file '/no/file' and are lost");
}

TEST_F(kxSerializeAdapterFileTest, WarnsOncePerCallInTheWrongDirection)
{
    const kxMessageRecorder messages;
    const File reading = openWith("abc");
    reading->writeByte('x');
    reading->write("xyz", 3);
    EXPECT_EQ(messages.texts(),
              std::vector<std::string>(2, "Can use KX_SERIALIZE_INPUT on a file opened for writing !\n"));
    EXPECT_EQ(kxTestRead(*reading), "abc") << "nothing is delivered, nothing is lost";

    const kxMessageRecorder others;
    const File writing = open(KX_SERIALIZE_OUTPUT);
    char bytes[4];
    EXPECT_EQ(writing->readByte(), 0);
    EXPECT_EQ(writing->readBlock(bytes, 4), 0U);
    EXPECT_EQ(others.texts(),
              std::vector<std::string>(2, "Can use KX_SERIALIZE_OUTPUT on a file opened for reading !\n"));
    EXPECT_FALSE(writing->hasError());
}

TEST_F(kxSerializeAdapterFileTest, TellsWhatAFullDiskLost)
{
    const kxMessageRecorder messages;
    {
        const File full(new kxSerializeAdapterFile("/dev/full", KX_SERIALIZE_OUTPUT, false));
        const std::string bytes = kxTestPattern(1500000);
        full->write(bytes.data(), 1500000);
        EXPECT_EQ(full->getError(), "Could not flush to file '/dev/full' (No space left on device)");
        EXPECT_EQ(full->flush(), 1U);
        full->write(bytes.data(), 7);
    }
    EXPECT_EQ(messages.texts(), (std::vector<std::string>{
                                    "Could not flush to file '/dev/full' (No space left on device)",
                                    "1500007 bytes could not be written to file '/dev/full' and are lost"}));
}

TEST_F(kxSerializeAdapterFileTest, LengthBeyondFourGigabytesIsSaturated)
{
    directory.write(kFileName, "x");
    std::filesystem::resize_file(directory.path(kFileName), (5ULL << 30) + 3);
    const File file = open(KX_SERIALIZE_INPUT);
    EXPECT_EQ(file->getRemaining(), (5ULL << 30) + 3);
    EXPECT_EQ(file->length(), std::numeric_limits<std::uint32_t>::max());
    EXPECT_EQ(file->readByte(), 'x');
    EXPECT_EQ(file->length(), std::numeric_limits<std::uint32_t>::max());
}

TEST_F(kxSerializeAdapterFileTest, ReadsFilesWhoseSizeNobodyKnows)
{
    const File made(new kxSerializeAdapterFile("/proc/self/comm", KX_SERIALIZE_INPUT, false));
    EXPECT_EQ(kxTestRead(*made), "kxtest_serializ\n");
    EXPECT_TRUE(made->hasError());

    const File broken(new kxSerializeAdapterFile("/proc/self/mem", KX_SERIALIZE_INPUT, false));
    const kxMessageRecorder messages;
    EXPECT_TRUE(kxTestRead(*broken).empty() && broken->hasError());
    EXPECT_EQ(broken->getError(), "Could not read from file '/proc/self/mem' (Input/output error)");
    EXPECT_EQ(messages.texts().size(), 1U);
}

TEST_F(kxSerializeAdapterFileTest, ReadsANamedPipeAsItFillsAndEndsWithItsWriter)
{
    const std::string path = directory.path("pipe");
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    int writer = -1;
    std::thread opener([&] { writer = ::open(path.c_str(), O_WRONLY | O_CLOEXEC); });
    const File pipe(new kxSerializeAdapterFile(path.c_str(), KX_SERIALIZE_INPUT, false));
    opener.join();
    EXPECT_EQ(pipe->length(), 0U);
    EXPECT_FALSE(pipe->hasError()) << "a pipe that is empty for now has not ended";
    ASSERT_EQ(::write(writer, "abc", 3), 3);
    EXPECT_EQ(pipe->length(), 3U);
    EXPECT_EQ(pipe->readByte(), 'a');
    ::close(writer);
    EXPECT_EQ(kxTestRead(*pipe), "bc");
    expectEnd(*pipe);
}

TEST_F(kxSerializeAdapterFileTest, ATerminalThatReadsLinesEndsByItsKey)
{
    kxPseudoTerminal terminal;
    const std::string path = "/dev/fd/" + std::to_string(terminal.slave());
    const File lines(new kxSerializeAdapterFile(path.c_str(), KX_SERIALIZE_INPUT, false));
    ASSERT_TRUE(terminal.send("ab\r\x04"));
    EXPECT_EQ(kxTestRead(*lines), "ab\n");
    expectEnd(*lines);
}
