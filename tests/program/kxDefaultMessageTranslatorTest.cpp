#include "kxbase/program/kxDefaultMessageTranslator.h"

#include "kxbase/core/kxFatalError.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/platform/kxPlatformWait.h"
#include "kxbase/program/kxCurrentLanguage.h"
#include "kxbase/program/kxLanguageFileParser.h"
#include "kxbase/serialize/kxSerializeAdapterQueue.h"
#include "kxbase/serialize/kxUrlRegistry.h"
#include "support/kxMessageRecorder.h"
#include "support/kxProcess.h"
#include "support/kxTempDirectory.h"
#include "support/kxTestSocket.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <latch>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Texts = std::vector<std::string>;

// A language file as bytes.
std::string utf16(const std::u16string& text, bool isSwapped = false)
{
    std::string bytes;
    for (const char16_t unit : text) {
        const char pair[] = {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
        bytes.append({pair[isSwapped ? 1 : 0], pair[isSwapped ? 0 : 1]});
    }
    return bytes;
}

// Reads the bytes in pieces; answers "none" when the text has no translation.
std::string find(const std::string& bytes, std::string_view english, std::string_view language,
                 std::size_t pieceBytes = 4096)
{
    kxTranslations translations;
    kxLanguageFileParser parser(translations);
    for (std::size_t at = 0; at < bytes.size(); at += pieceBytes) {
        parser.feed(reinterpret_cast<const std::uint8_t*>(bytes.data()) + at,
                    std::min(pieceBytes, bytes.size() - at));
    }
    parser.finish();
    const std::string* const found = translations.find(english, language);
    return found != nullptr ? *found : "none";
}

// Serves the URL "probe:", which holds a small language file.
class Probe : public kxSerializeURLManagerInterface {
public:
    explicit Probe(std::function<void()> action) : action_(std::move(action)) {}
    kxRefPointer<kxSerializeAdapter> create(const kxString&, std::uint32_t, std::uint32_t, const kxString&,
                                            kxString*) override
    {
        ++calls;
        action_();
        const std::string file = utf16(u"\"hello %s\"\ndeu \"hallo %s\"\nfra \"bonjour %s\"\n");
        auto adapter = kxMakeRef<kxSerializeAdapterQueue>(KX_QUEUE_FIFO, 1000U);
        adapter->write(file.data(), static_cast<std::uint32_t>(file.size()));
        return adapter;
    }
    std::atomic<int> calls{0};

private:
    std::function<void()> action_;
};

class kxDefaultMessageTranslatorTest : public testing::Test {
protected:
    void SetUp() override
    {
        ::setenv("KORVEX_LANGUAGE_FILE", "probe:", 1);
        kxCurrentLanguage::set("deu");
        kxMessageManager::instance().setTranslator(&translator);
    }
    void TearDown() override
    {
        ::unsetenv("KORVEX_LANGUAGE_FILE");
        ::unsetenv("KORVEX_LANGUAGE");
        kxCurrentLanguage::set("");
        kxMessageManager::instance().setTranslator(&kxMessageManager::defaultTranslator());
        kxUrlRegistry::instance().removeManager("probe:");
    }
    Probe& probe(std::function<void()> action)
    {
        const auto probe = kxMakeRef<Probe>(std::move(action));
        kxUrlRegistry::instance().addManager("probe:", probe);
        return *probe;
    }

    kxDefaultMessageTranslator translator;
};

}  // namespace

TEST(kxLanguageFileParser, FindsTranslationsInEveryByteOrder)
{
    const struct {
        const char* why;
        std::u16string file;
        std::string expected;  // for "Key" in "deu"
    } cases[] = {
        {"an entry", u"\"Key\"\ndeu \"Wort\"\n", "Wort"},
        {"others around it", u"\"A\"\ndeu \"x\"\n\"Key\"\nfra \"y\"\ndeu \"Wort\"\n\"B\"\ndeu \"z\"\n",
         "Wort"},
        {"no line end, blanks, comments, empty lines, CR LF",
         u"# c\r\n\r\n \t\"Key\"  \r\n  # deu \"no\"\r\n\r\n\tdeu\t \"Wort\" ", "Wort"},
        {"escapes, and a backslash that is none", uR"("Key"
deu "\n\r\t\\\"\x%s")",
         "\n\r\t\\\"\\x%s"},
        {"the last entry", u"\"Key\"\ndeu \"a\"\n\"Key\"\ndeu \"b\"\n", "b"},
        {"a pair of surrogates", u"\"Key\"\ndeu \"\U0001F600\"\n", "\xF0\x9F\x98\x80"},
        {"lone halves",
         std::u16string(u"\"Key\"\ndeu \"") + char16_t{0xDC00} + u'a' + char16_t{0xD800} + u"\"\n",
         "\xEF\xBF\xBD\x61\xEF\xBF\xBD"},
        {"a mark of a file that was appended", u"\uFEFF\"Key\"\n\uFEFFdeu \"Wort\"\n", "Wort"},
        {"quote not closed", u"\"Key\"\ndeu \"Wort\nfra \"x\"\n", "none"},
        {"words behind the quote", u"\"Key\"\ndeu \"Wort\" x\n", "none"},
        {"no quotes, no code, no text", u"\"Key\"\ndeu Wort\ndeu\n\"\"\ndeu \"x\"\n", "none"},
        {"of a faulty text, not of the one before", u"\"Key\"\n\"Other\ndeu \"Wort\"\n", "none"},
        {"an empty translation takes the one before back", u"\"Key\"\ndeu \"a\"\n\"Key\"\ndeu \"\"\n",
         "none"},
        {"one that is faulty does not", u"\"Key\"\ndeu \"a\"\ndeu \"\" x\n", "a"},
        {"an empty translation", u"\"Key\"\ndeu \"\"\n", "none"},
        {"a text that is too long", u"\"Key\"\ndeu \"" + std::u16string(65536, u'x') + u"\"\n", "none"},
        {"behind blanks without end a text that is faulty",
         u"\"Key\"\n" + std::u16string(200000, u' ') + u"\"Other\ndeu \"Wort\"\n", "none"},
        {"a huge line", std::u16string(200000, u'"') + u"\n\"Key\"\ndeu \"b\"\n", "b"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, std::size_t{1} << 20U}) {
            EXPECT_EQ(find(utf16(c.file), "Key", "deu", piece), c.expected);
            EXPECT_EQ(find(utf16(u'\uFEFF' + c.file) + "\n", "Key", "deu", piece), c.expected);
            EXPECT_EQ(find(utf16(u'\uFEFF' + c.file, true), "Key", "deu", piece), c.expected);
        }
    }
}

TEST_F(kxDefaultMessageTranslatorTest, FollowsTheLanguage)
{
    probe([] {});
    EXPECT_EQ(kxTranslate("hello %s"), "hallo %s");
    kxCurrentLanguage::set("");
    EXPECT_EQ(kxTranslate("hello %s"), "hello %s");
    EXPECT_EQ(kxCurrentLanguage::get(), "eng");
    ::setenv("KORVEX_LANGUAGE", "fra", 1);
    EXPECT_EQ(kxCurrentLanguage::get(), "eng") << "until it is asked to look again";
    kxCurrentLanguage::set("");
    EXPECT_EQ(kxTranslate("hello %s"), "bonjour %s");
    EXPECT_EQ(kxTranslate("unknown"), "unknown");
}

TEST_F(kxDefaultMessageTranslatorTest, ReadsOnceWhateverHappensMeanwhile)
{
    const auto send = [] { kxMessage(KX_MESSAGE_NOTICE, "hello %s", "from inside"); };
    const Texts untranslated{"hello from inside", "hallo you", "hallo you"};
    const struct {
        const char* why;
        std::function<void()> action;
        Texts expected;
    } cases[] = {
        {"a message is not translated and does not come back", send, untranslated},
        {"nor is that of a thread that is waited for", [&] { std::thread(send).join(); }, untranslated},
        {"a fatal error", [] { kxRaiseFatal("hello %s", "x"); }, {"hello you", "hello you"}},
        {"something else is thrown", [] { throw 1; }, {"hello you", "hello you"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        kxDefaultMessageTranslator own;
        kxMessageManager::instance().setTranslator(&own);
        const kxRefPointer<Probe> held(&probe(c.action));
        const kxMessageRecorder messages;
        for (int time = 0; time < 2; ++time) kxMessage(KX_MESSAGE_NOTICE, "hello %s", "you");
        EXPECT_EQ(messages.texts(), c.expected);
        EXPECT_EQ(held->calls, 1);
        kxMessageManager::instance().setTranslator(&translator);
    }
}

TEST_F(kxDefaultMessageTranslatorTest, SaysNothingOfAFileThatCannotBeRead)
{
    const kxTempDirectory directory;
    kxTestSocket server = kxTestSocket::listener();
    std::thread serving([&] {
        kxTestSocket connection = server.accept();
        connection.receive();
        connection.send("no reply\r\n\r\n");
    });
    const kxMessageRecorder messages(KX_MESSAGE_MEMORY | KX_MESSAGE_INTERNAL);
    for (const std::string& url :
         {server.url("http:"), "file:" + directory.path(), std::string("nope:"), std::string("mem:1"),
          std::string("file:/dev/zero"), std::string("file:/proc/self/mem"),
          "file:" + directory.write("bytes", "\xFF\"\"\xFF\xFE\n\n\"")}) {
        ::setenv("KORVEX_LANGUAGE_FILE", url.c_str(), 1);
        kxDefaultMessageTranslator own;
        EXPECT_EQ(own.translate("hello %s", "module", KX_MESSAGE_NOTICE), "") << url;
    }
    serving.join();
    EXPECT_EQ(messages.texts(), Texts());
}

TEST_F(kxDefaultMessageTranslatorTest, ReadsAPipeToItsEnd)
{
    const kxTempDirectory directory;
    const std::string path = directory.path("pipe");
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    ::setenv("KORVEX_LANGUAGE_FILE", ("file:" + path).c_str(), 1);
    std::thread writer([&] {
        const int pipe = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
        for (const char16_t* const line : {u"\"hello %s\"\n", u"deu \"hallo %s\"\n"}) {
            kxPlatformSleep(50);
            EXPECT_GT(::write(pipe, line, 2 * std::u16string_view(line).size()), 0);
        }
        ::close(pipe);
    });
    EXPECT_EQ(kxTranslate("hello %s"), "hallo %s");
    writer.join();
}

TEST_F(kxDefaultMessageTranslatorTest, AForkedChildReadsAnewWhatAnotherThreadWasReading)
{
    std::latch inside(1);
    std::latch leave(1);
    const pid_t parent = ::getpid();
    probe([&] {
        if (::getpid() != parent) return;
        inside.count_down();
        leave.wait();
    });
    std::thread reading([] { kxTranslate("hello %s"); });
    inside.wait();
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(10);
        ::_exit(kxTranslate("hello %s") == "hallo %s" ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    leave.count_down();
    reading.join();
    EXPECT_EQ(kxTranslate("hello %s"), "hallo %s");
}

TEST(kxMessageTranslation, ChangesWhatTheToolPrints)
{
    const kxTempDirectory directory;
    const std::u16string file = u"\uFEFF\" Warning::\"\ndeu \" Warnung::\"\nfra \" Avertissement::\"\n"
                                u"\"Could not create URL Adapter '%s'\"\n"
                                u"deu \"Kein Adapter f\u00FCr '%s'\"\nfra \"Pas d'adaptateur pour '%s'\"\n";
    directory.write("korvexsdk.lng", utf16(file));
    directory.write("big", utf16(file, true));
    const std::string german = "\rKorvexSDK Warnung::Kein Adapter f\xC3\xBCr 'nope:'\n";
    const std::string french = "\rKorvexSDK Avertissement::Pas d'adaptateur pour 'nope:'\n";
    const std::string english = "\rKorvexSDK Warning::Could not create URL Adapter 'nope:'\n";
    const struct {
        const char* language;
        const char* file;
        std::string expected;
    } cases[] = {
        {"deu", "", german},  {"fra", "", french},         {"deu", "file:big", german},     {"", "", english},
        {"xyz", "", english}, {"deu", "file:no", english}, {"deu", "rand:file:big", german}};
    const auto check = [&](const auto& c) {
        kxProcessOptions options;
        options.arguments = {"-URL", "nope:", "-output", "dummy:"};
        options.directory = directory.path();
        options.environment = {{"KORVEX_LANGUAGE", c.language}, {"KORVEX_LANGUAGE_FILE", c.file}};
        kxProcess tool(KX_TEST_TOOL, options);
        tool.closeInput();
        EXPECT_EQ(tool.wait(), kxExited(99));
        EXPECT_EQ(tool.output(), c.expected + "\rKorvexSDK Fatal::Error in input adapter nope:\n")
            << c.language << " of " << c.file;
    };
    for (const auto& c : cases) check(c);
    std::filesystem::remove(directory.path("korvexsdk.lng"));
    ASSERT_EQ(::mkfifo(directory.path("korvexsdk.lng").c_str(), 0600), 0);
    check(cases[3]);  // a pipe that nobody asked for is not waited for
}
