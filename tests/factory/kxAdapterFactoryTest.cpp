#include "kxbase/serialize/DummyURLManagerInterface.h"
#include "kxbase/serialize/kxLayeredAdapter.h"
#include "kxbase/serialize/kxSerializeAdapterMemory.h"
#include "kxbase/serialize/kxSerializeAdapterRandomAccess.h"
#include "kxbase/serialize/kxUrlRegistry.h"

#include "support/kxMessageRecorder.h"
#include "support/kxTempDirectory.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>

namespace {

using Adapter = kxRefPointer<kxSerializeAdapter>;

constexpr const char* kGuidText = "{0123ABCD-45EF-6789-FEDC-BA9876543210}";
constexpr const char* kUnknownGuid = "{FFFFFFFF-45EF-6789-FEDC-BA9876543210}";
constexpr const char* kBadGuid = "{0123ABCD-45EF-6789-FEDC-BA987654321G}";

// Makes what the test says.
class Manager : public kxSerializeURLManagerInterface {
public:
    using Create = std::function<Adapter(const kxString& url, kxString* errorOut)>;

    explicit Manager(Create create) : create_(std::move(create)) {}
    Adapter create(const kxString& url, std::uint32_t, std::uint32_t, const kxString&,
                   kxString* errorOut) override
    {
        return create_(url, errorOut);
    }

private:
    const Create create_;
};

class kxAdapterFactoryTest : public testing::Test {
protected:
    ~kxAdapterFactoryTest() noexcept override
    {
        for (const char* scheme : {"file:", "test:", "other:", ""}) registry.removeManager(scheme);
        registry.removeUrl(kxGUID(kGuidText));
    }
    void serve(const char* scheme, Manager::Create create)
    {
        EXPECT_TRUE(registry.addManager(scheme, kxMakeRef<Manager>(std::move(create))));
    }
    static Adapter open(std::string_view url, kxString* errorOut = nullptr)
    {
        return kxSerializeAdapter::getAdapter(kxString(url), KX_SERIALIZE_INPUT, 0, "", errorOut);
    }
    static kxString urlOf(const char* scheme, const void* object)
    {
        return kxString::format("%s%llu", scheme, object);
    }

    kxMessageRecorder recorder{KX_MESSAGE_WARNING | KX_MESSAGE_INTERNAL};
    kxUrlRegistry& registry = kxUrlRegistry::instance();
};

std::string take(const Adapter& adapter)
{
    std::string bytes(adapter->length(), '?');
    bytes.resize(adapter->read(bytes.data(), adapter->length()));
    return bytes;
}

}  // namespace

TEST_F(kxAdapterFactoryTest, EveryFailureHasItsTextAndItsLevel)
{
    serve("test:", [](const kxString& url, kxString* errorOut) -> Adapter {
        if (url == "test:reason") *errorOut = "manager's reason";
        if (url == "test:error") return kxFailedAdapter("%s is no format");
        return nullptr;
    });
    const std::string longName(2000, 'x');
    const std::string shortName = std::string("none:").append(longName, 0, 995) + "...";
    constexpr std::uint32_t kHigh = KX_MESSAGE_WARNING;
    constexpr std::uint32_t kLow = KX_MESSAGE_INTERNAL_WARNING;
    const struct {
        std::string url;
        std::uint32_t level;
        std::string message;  // the last one
        std::string reason;   // empty is the same
    } cases[] = {
        {"", kHigh, "Empty URL name in getAdapter", ""},
        {"none:a%s", kHigh, "Could not create URL Adapter 'none:a%s'", ""},
        {"none:" + longName, kHigh, "Could not create URL Adapter '" + shortName + "'", ""},
        {"FILE:a", kHigh, "Could not create URL Adapter 'FILE:a'", ""},
        {"no colon", kHigh, "Could not create URL Adapter 'no colon'", ""},
        {"file:", kHigh,
         "URL Adapter (file:) Error:Could not open '' for reading (No such file or directory)",
         "Could not open '' for reading (No such file or directory)"},
        {"mem:1", kHigh, "Wrong syntax in (mem:address,len) adapter arguments (mem:1)", ""},
        {"mem:,1", kHigh, "Wrong syntax in (mem:address,len) adapter arguments (mem:,1)", ""},
        {"mem:1,1x", kHigh, "Wrong syntax in (mem:address,len) adapter arguments (mem:1,1x)", ""},
        {"mem:-1,1", kHigh, "Wrong syntax in (mem:address,len) adapter arguments (mem:-1,1)", ""},
        {"mem:1,4294967296", kHigh, "Wrong syntax in (mem:address,len) adapter arguments (mem:1,4294967296)",
         ""},
        {"mem:18446744073709551616,1", kHigh,
         "Wrong syntax in (mem:address,len) adapter arguments (mem:18446744073709551616,1)", ""},
        {"mem:4096,1", kHigh, "URL Adapter (mem:4096,1) Error:No memory at this address",
         "No memory at this address"},
        {"mem:18446744073709551615,2", kHigh,
         "URL Adapter (mem:18446744073709551615,2) Error:No memory at this address",
         "No memory at this address"},
        {"adapt:x", kHigh, "Wrong syntax in (adapt:address) adapter arguments (adapt:x)", ""},
        {"adapt:1,1", kHigh, "Wrong syntax in (adapt:address) adapter arguments (adapt:1,1)", ""},
        {"adapt:4096", kHigh, "URL Adapter (adapt:4096) Error:No adapter at this address",
         "No adapter at this address"},
        {"rand:none:x", kHigh, "URL Adapter (rand:none:x) Error:Could not create URL Adapter 'none:x'",
         "Could not create URL Adapter 'none:x'"},
        {"rand:", kHigh, "URL Adapter (rand:) Error:Empty URL name in getAdapter",
         "Empty URL name in getAdapter"},
        {kUnknownGuid, kLow, "Unknown GUID URL in getAdapter", ""},
        {kBadGuid, kLow, "Unknown GUID URL in getAdapter", ""},
        {"{}", kLow, "Unknown GUID URL in getAdapter", ""},
        {std::string("file:") + kUnknownGuid, kLow, "Unknown GUID URLName in getAdapter", ""},
        {std::string("file:") + kBadGuid + "?a", kLow, "Unknown GUID URLName in getAdapter", ""},
        {"file:{none}", kHigh,
         "URL Adapter (file:{none}) Error:Could not open '{none}' for reading (No such file or directory)",
         "Could not open '{none}' for reading (No such file or directory)"},
        {"test:none", kHigh, "Could not create URL Adapter 'test:none'", ""},
        {"test:reason", kHigh, "Could not create URL Adapter 'test:reason'", "manager's reason"},
        {"test:error", kHigh, "URL Adapter (test:error) Error:%s is no format", "%s is no format"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.url.substr(0, 100));
        recorder.takeTexts();
        kxString reason("before");
        EXPECT_EQ(open(c.url, &reason), nullptr);
        EXPECT_EQ(reason, (c.reason.empty() ? c.message : c.reason).c_str());
        const bool isMalformed = c.url == "{}" || c.url.find(kBadGuid) != std::string::npos;
        ASSERT_EQ(recorder.entries().size(), isMalformed ? 2U : 1U);
        EXPECT_EQ(recorder.entries().back().text, c.message);
        EXPECT_EQ(recorder.entries().back().level, c.level);

        recorder.takeTexts();
        kxString silentReason;
        EXPECT_EQ(kxSerializeAdapter::getAdapter(kxString(c.url), KX_SERIALIZE_INPUT, KX_SERIALIZE_SILENT | 4,
                                                 "", &silentReason),
                  nullptr);
        EXPECT_EQ(silentReason, reason);
        EXPECT_TRUE(recorder.entries().empty()) << "silenced";
        EXPECT_EQ(kxSerializeAdapter::getAdapter(kxString(c.url), KX_SERIALIZE_INPUT, KX_SERIALIZE_SILENT),
                  nullptr);
    }
}

TEST_F(kxAdapterFactoryTest, RecordsWhereAnAdapterCameFrom)
{
    const kxTempDirectory directory;
    directory.write("a", "abc");
    const kxString folder(directory.path(""));
    kxString reason("untouched");
    const Adapter file = kxSerializeAdapter::getAdapter("file:" + folder + "a?x=y", KX_SERIALIZE_INPUT,
                                                        KX_SERIALIZE_SILENT | 6, "base", &reason);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->getReferenceCount(), 1U);
    EXPECT_EQ(file->getScheme(), "file:");
    EXPECT_EQ(file->getAddress(), folder);
    EXPECT_EQ(file->getName(), "a");
    EXPECT_EQ(file->getContext(), "base");
    EXPECT_EQ(file->getOptions(), "x=y");
    EXPECT_EQ(file->getFlags(), 6U) << "but for the one that silences";
    EXPECT_EQ(reason, "untouched");

    const Adapter random = open("rand:file:" + folder + "a");
    EXPECT_EQ(random->getScheme(), "rand:");
    EXPECT_EQ(random->getAddress(), "file:" + folder);
    EXPECT_EQ(take(random), "abc");
    directory.write("empty", "");
    EXPECT_TRUE(open("rand:file:" + folder + "empty")) << "opening never notices an end";

    registry.addUrl(kxGUID(kGuidText), "file:" + folder + "a");
    const Adapter named = open(kGuidText);
    EXPECT_EQ(named->getName(), "a");
    EXPECT_EQ(take(open(kxString("rand:") + kGuidText + "?")), "abc") << "an address of its own";
    registry.addUrl(kxGUID(kGuidText), folder + "a");
    const Adapter address = open(kxString("file:") + kGuidText + "?p=q");
    EXPECT_EQ(address->getAddress(), folder);
    EXPECT_EQ(address->getOptions(), "p=q");
    registry.addUrl(kxGUID(kGuidText), kGuidText);
    EXPECT_EQ(open(kGuidText, &reason), nullptr) << "is not looked up a second time";
    EXPECT_EQ(reason, kxString("Could not create URL Adapter '") + kGuidText + "'");
    EXPECT_TRUE(registry.removeUrl(kxGUID(kGuidText)));
    EXPECT_FALSE(registry.removeUrl(kxGUID(kGuidText)));
    open(kGuidText, &reason);
    EXPECT_EQ(reason, "Unknown GUID URL in getAdapter");
}

TEST_F(kxAdapterFactoryTest, AddressesReachMemoryAndLivingAdaptersUntilSwitchedOff)
{
    char bytes[] = "abcdef";
    const kxString memoryUrl = urlOf("mem:", bytes) + ",3";
    const Adapter memory = open(memoryUrl);
    ASSERT_TRUE(memory);
    memory->write("x", 1);
    EXPECT_EQ(take(memory), "bc");
    EXPECT_STREQ(bytes, "xbcdef");
    EXPECT_TRUE(open("mem:0,0")) << "no byte lies anywhere";

    const kxString adapterUrl = urlOf("adapt:", memory.get());
    EXPECT_EQ(kxSerializeAdapter::getAdapter(adapterUrl, 3, 4, "other"), memory);
    EXPECT_EQ(memory->getScheme(), "mem:") << "handed back as it is";
    EXPECT_EQ(memory->getFlags() + memory->getContext().length(), 0U);
    EXPECT_EQ(memory->getReferenceCount(), 1U);

    registry.setAddressUrls(false);
    for (const kxString& url : {memoryUrl, adapterUrl}) {
        kxString reason;
        EXPECT_EQ(open(url, &reason), nullptr);
        EXPECT_EQ(reason, "URLs of memory addresses are switched off");
    }
    registry.setAddressUrls(true);
    Adapter gone = open(memoryUrl);
    const kxString goneUrl = urlOf("adapt:", gone.get());
    gone = nullptr;
    EXPECT_EQ(open(goneUrl), nullptr);
}

// One thread lets adapters go that another one looks for.
TEST_F(kxAdapterFactoryTest, AnAdapterIsFoundWholeOrNotAtAll)
{
    std::atomic<const void*> address{nullptr};
    std::atomic<bool> isOver{false};
    std::thread owner([&] {
        for (int round = 0; round < 3000; ++round) {
            char byte = 'a';
            const Adapter adapter = kxMakeRef<kxSerializeAdapterMemory>(&byte, 1);
            address = adapter.get();
        }
        isOver = true;
    });
    while (!isOver) {
        const Adapter found = kxSerializeAdapter::getAdapter(urlOf("adapt:", address.load()), 3, 1);
        EXPECT_TRUE(!found || found->getReferenceCount() > 0);
    }
    owner.join();
}

TEST_F(kxAdapterFactoryTest, ManagersComeBeforeTheBuiltInSchemes)
{
    const kxTempDirectory directory;
    const kxString url = "file:" + kxString(directory.write("a", "abc"));
    std::vector<std::string> asked;
    serve("file:", [&](const kxString& wanted, kxString*) -> Adapter {
        asked.emplace_back(wanted.view());
        if (wanted.endsWith("?mine")) return kxMakeRef<kxSerializeAdapterMemory>(nullptr, 0);
        return nullptr;
    });
    EXPECT_EQ(take(open(url)), "abc") << "a manager that makes none leaves the URL to the scheme";
    const Adapter mine = open(url + "?mine");
    EXPECT_EQ(take(mine), "");
    EXPECT_EQ(mine->getScheme() + mine->getName() + mine->getOptions(), "file:amine");
    EXPECT_EQ(asked.size(), 2U);
    EXPECT_EQ(asked.back(), (url + "?mine").view());

    // Replaced, and removed, by name; the last reference goes with it.
    const auto last = kxMakeRef<DummyURLManagerInterface>();
    EXPECT_TRUE(registry.addManager("file:", last));
    EXPECT_EQ(take(open(url)), "");
    EXPECT_EQ(last->getReferenceCount(), 2U);
    EXPECT_TRUE(registry.removeManager("file:"));
    EXPECT_FALSE(registry.removeManager("file:"));
    EXPECT_EQ(last->getReferenceCount(), 1U);
    EXPECT_EQ(take(open(url)), "abc");
    EXPECT_FALSE(registry.addManager("test:", nullptr));
    for (const char* scheme : {"test", "te:st:", "test: "}) EXPECT_FALSE(registry.addManager(scheme, last));
    EXPECT_TRUE(registry.addManager("", last));
    EXPECT_TRUE(open("no colon"));
}

TEST_F(kxAdapterFactoryTest, AManagerMayChangeTheRegistryWhileItCreates)
{
    serve("test:", [&](const kxString&, kxString*) -> Adapter {
        serve("other:", [](const kxString&, kxString*) -> Adapter {
            return kxMakeRef<kxSerializeAdapterMemory>(nullptr, 0);
        });
        registry.removeManager("test:");
        // From another thread too: no lock is held.
        std::thread([&] { registry.addUrl(kxGUID(kGuidText), "other:"); }).join();
        return open(kGuidText);
    });
    EXPECT_TRUE(open("test:"));
    EXPECT_EQ(open("test:"), nullptr);
    EXPECT_TRUE(open("other:"));
}

TEST_F(kxAdapterFactoryTest, SixteenLevelsOfNestingAndHostileUrlsEnd)
{
    serve("test:", [](const kxString& url, kxString*) -> Adapter {
        return kxLayeredAdapter<kxSerializeAdapterRandomAccess>(url, 3, 0, "");
    });
    serve("other:",
          [](const kxString&, kxString*) { return kxMakeRef<kxSerializeAdapterMemory>(nullptr, 0); });
    std::string url = "other:";
    for (int level = 2; level <= 16; ++level) url.insert(0, level % 2 != 0 ? "rand:" : "test:");
    EXPECT_TRUE(open(url));
    kxString reason;
    EXPECT_EQ(open("rand:" + url, &reason), nullptr);
    EXPECT_EQ(reason, "Too many URLs within one another in getAdapter");
    EXPECT_TRUE(open(url)) << "the levels are counted down again";

    for (const std::string start : {"", "rand:", "file:", "mem:", "adapt:", "test:", "x"}) {
        for (const std::string piece : {":", "{", "}", "?", "&", "/", "\\", "rand:", "test:", "{?:&"}) {
            std::string hostile = start;
            while (hostile.size() < 65530) hostile += piece;
            EXPECT_EQ(open(hostile, &reason), nullptr) << start << piece;
            EXPECT_TRUE(!reason.isEmpty() && reason.length() < 2000) << start << piece << reason.length();
        }
    }
    for (const std::string& text : recorder.texts()) EXPECT_LT(text.size(), 3000U);
    registry.addUrl(kxGUID(kGuidText), kxString(std::string(65535, 'a')));
    EXPECT_EQ(open(kxString("file:") + kGuidText + "?" + kxString(std::string(65000, 'b')), &reason),
              nullptr);
    EXPECT_TRUE(reason.startsWith("Could not create URL Adapter 'file:{"));
}
