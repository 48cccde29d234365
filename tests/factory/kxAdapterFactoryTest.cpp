#include "kxbase/core/kxClock.h"
#include "kxbase/factory/PurlURLManagerInterface.h"
#include "kxbase/serialize/DummyURLManagerInterface.h"
#include "kxbase/serialize/kxEncoderURLManager.h"
#include "kxbase/serialize/kxSerializeAdapterBCDEncoder.h"
#include "kxbase/serialize/kxSerializeAdapterMemory.h"
#include "kxbase/serialize/kxSerializeAdapterRandomAccess.h"
#include "kxbase/serialize/kxUrlRegistry.h"
#include "support/kxTest.h"

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
        for (const char* scheme : {"file:", "purl:", "test:", "other:"}) registry.removeManager(scheme);
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

}  // namespace

TEST_F(kxAdapterFactoryTest, EveryFailureHasItsTextAndItsLevel)
{
    serve("test:", [](const kxString& url, kxString* errorOut) -> Adapter {
        if (url == "test:reason") *errorOut = "manager's reason";
        return url == "test:error" ? kxFailedAdapter("%s is no format") : nullptr;
    });
    EXPECT_TRUE(registry.addManager("purl:", kxMakeRef<PurlURLManagerInterface>()));
    // The message with the URL in the place of '@'; what is behind a '|' is also the reason.
    const struct {
        std::string text;
        std::vector<std::string> urls;
    } cases[] = {
        {"Empty URL name in getAdapter", {""}},
        {"Could not create URL Adapter '@'", {"none:a%s", "FILE:a", "no colon", "test:none", "test:reason"}},
        {"URL Adapter (@) Error:|%s is no format", {"test:error"}},
        {"URL Adapter (@) Error:|Could not open '' for reading (No such file or directory)", {"file:"}},
        {"Wrong syntax in (mem:address,len) adapter arguments (@)",
         {"mem:1", "mem:,1", "mem:1,1x", "mem:-1,1", "mem:1,4294967296", "mem:18446744073709551616,1"}},
        {"URL Adapter (@) Error:|No memory at this address", {"mem:4096,1", "mem:18446744073709551615,2"}},
        {"Wrong syntax in (adapt:address) adapter arguments (@)", {"adapt:x", "adapt:1,1"}},
        {"URL Adapter (@) Error:|No adapter at this address", {"adapt:4096"}},
        {"URL Adapter (@) Error:|Could not create URL Adapter 'none:x'", {"rand:none:x"}},
        {"Wrong syntax in (zip:{archive url},file) adapter arguments (@)",
         {"zip:", "zip:{a}", "zip:{a},", "zip:{a},?x", "zip:a,b"}},
        {"URL Adapter (@) Error:|ZIP archives are not supported", {"zip:{file:a?b},c/d", "zip:{},1?x"}},
        {"URL Adapter (@) Error:|Wrong syntax in (purl:name,url) adapter arguments (@)",
         {"purl:", "purl:file:a", "purl:n,?x"}},
        {"URL Adapter (@) Error:|Could not create URL Adapter '12'", {"purl:n,12"}},
        {"Unknown GUID URL in getAdapter", {kUnknownGuid, "{}"}},
        {"Unknown GUID URLName in getAdapter",
         {std::string("file:") + kUnknownGuid, std::string("file:") + kBadGuid + "?a"}},
    };
    for (const auto& c : cases) {
        for (const std::string& url : c.urls) {
            SCOPED_TRACE(url);
            const std::size_t bar = c.text.find('|');
            std::string message = c.text.substr(0, bar);
            std::string expected = bar != std::string::npos ? c.text.substr(bar + 1) : message;
            for (std::string* text : {&message, &expected}) {
                if (const std::size_t mark = text->find('@'); mark != std::string::npos)
                    text->replace(mark, 1, url);
            }
            if (message.ends_with("Error:")) message += expected;

            const bool isMalformed = url == "{}" || url.find(kBadGuid) != std::string::npos;
            for (const std::uint32_t flags : {0U, KX_SERIALIZE_SILENT}) {
                recorder.takeTexts();
                kxString reason;
                EXPECT_EQ(kxSerializeAdapter::getAdapter(kxString(url), 2, flags, "", &reason), nullptr);
                EXPECT_EQ(reason, expected);
                ASSERT_EQ(recorder.entries().size(), flags != 0 ? 0U : isMalformed ? 2U : 1U);
                if (flags != 0) continue;
                EXPECT_EQ(recorder.entries().back().text, message);
                EXPECT_EQ(recorder.entries().back().level,
                          message.starts_with("Unknown") ? 0x4800U : 0x4000U);
            }
        }
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
    EXPECT_EQ(file->getReferenceCount(), 1U);
    EXPECT_EQ(file->getScheme() + file->getAddress() + file->getName(), "file:" + folder + "a");
    EXPECT_EQ(file->getContext() + file->getOptions() + reason, "basex=yuntouched");
    EXPECT_EQ(file->getFlags(), 6U) << "but for the one that silences";

    const Adapter random = open("rand:file:" + folder + "a");
    EXPECT_EQ(random->getScheme() + random->getAddress(), "rand:file:" + folder);
    EXPECT_EQ(kxTestTake(*random), "abc");

    registry.addUrl(kxGUID(kGuidText), "file:" + folder + "a");
    EXPECT_EQ(kxTestTake(*open(kGuidText)), "abc");
    EXPECT_EQ(kxTestTake(*open(kxString("rand:") + kGuidText + "?")), "abc") << "an address of its own";
    registry.addUrl(kxGUID(kGuidText), folder + "a");
    const Adapter address = open(kxString("file:") + kGuidText + "?p=q");
    EXPECT_EQ(address->getAddress() + address->getOptions(), folder + "p=q");
    registry.addUrl(kxGUID(kGuidText), kGuidText);
    EXPECT_EQ(open(kGuidText, &reason), nullptr) << "is not looked up a second time";
    EXPECT_TRUE(reason.startsWith("Could not create"));
    EXPECT_TRUE(registry.removeUrl(kxGUID(kGuidText)) && !registry.removeUrl(kxGUID(kGuidText)));
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
    EXPECT_EQ(kxTestTake(*memory), "bc");
    EXPECT_STREQ(bytes, "xbcdef");
    EXPECT_TRUE(open("mem:0,0")) << "no byte lies anywhere";

    const kxString adapterUrl = urlOf("adapt:", memory.get());
    EXPECT_EQ(kxSerializeAdapter::getAdapter(adapterUrl, 3, 4, "other"), memory);
    EXPECT_TRUE(memory->getScheme() == "mem:" && memory->getFlags() == 0) << "handed back as it is";
    EXPECT_TRUE(registry.addManager("purl:", kxMakeRef<PurlURLManagerInterface>()));
    EXPECT_EQ(open("purl:n,purl:m," + adapterUrl + "?x"), memory);
    EXPECT_EQ(memory->getScheme() + memory->getName() + memory->getOptions(), "mem:") << "nor renamed";
    EXPECT_EQ(open("purl:n," + memoryUrl)->getName(), "n");
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
        while (!isOver) {
            const Adapter adapter = kxMakeRef<kxSerializeAdapterMemory>(nullptr, 0U);
            address = adapter.get();
            std::this_thread::yield();
        }
    });
    int foundCount = 0;
    while (address == nullptr) std::this_thread::yield();
    const double end = kxClock::seconds() + 10;
    for (int round = 0; round < 3000 || (foundCount == 0 && kxClock::seconds() < end); ++round) {
        const Adapter found = kxSerializeAdapter::getAdapter(urlOf("adapt:", address.load()), 3, 1);
        if (!found) continue;
        ++foundCount;
        EXPECT_TRUE(dynamic_cast<kxSerializeAdapterMemory*>(found.get()) != nullptr &&
                    found->hasData() == false);
    }
    isOver = true;
    owner.join();
    EXPECT_GT(foundCount, 0);
}

TEST_F(kxAdapterFactoryTest, ManagersComeBeforeTheBuiltInSchemes)
{
    const kxTempDirectory directory;
    const kxString url = "file:" + kxString(directory.write("a", "abc"));
    serve("file:", [&](const kxString& wanted, kxString*) -> Adapter {
        return wanted == url + "?mine" ? kxMakeRef<kxSerializeAdapterMemory>(nullptr, 0U) : nullptr;
    });
    EXPECT_EQ(kxTestTake(*open(url)), "abc") << "a manager that makes none leaves the URL to the scheme";
    const Adapter mine = open(url + "?mine");
    EXPECT_EQ(kxTestTake(*mine), "");
    EXPECT_EQ(mine->getScheme() + mine->getName() + mine->getOptions(), "file:amine");

    const auto last = kxMakeRef<DummyURLManagerInterface>();
    EXPECT_TRUE(registry.addManager("file:", last));
    EXPECT_EQ(kxTestTake(*open(url)), "");
    EXPECT_EQ(last->getReferenceCount(), 2U);
    EXPECT_TRUE(registry.removeManager("file:") && !registry.removeManager("file:"));
    EXPECT_EQ(last->getReferenceCount(), 1U);
    EXPECT_EQ(kxTestTake(*open(url)), "abc");
    for (const char* scheme : {"test", "te:st:", "test: "}) EXPECT_FALSE(registry.addManager(scheme, last));

    // A manager may change the registry while it creates, and no lock is held.
    serve("test:", [&](const kxString&, kxString*) -> Adapter {
        registry.addManager("other:", last);
        registry.removeManager("test:");
        std::thread([&] { registry.addUrl(kxGUID(kGuidText), "other:"); }).join();
        return open(kGuidText);
    });
    EXPECT_TRUE(open("test:"));
    EXPECT_TRUE(!open("test:") && open("other:"));
}

TEST_F(kxAdapterFactoryTest, APurlGivesItsNameToTheAdapterOfTheUrlBehindIt)
{
    const kxTempDirectory directory;
    const std::string file = "file:" + directory.write("a?b", "abc");
    EXPECT_EQ(open("purl:n," + file + "?"), nullptr) << "not registered";
    EXPECT_TRUE(registry.addManager("purl:", kxMakeRef<PurlURLManagerInterface>()));

    const Adapter adapter = open("purl:n," + file + "?x=1&y");
    EXPECT_EQ(kxTestTake(*adapter), "abc");
    EXPECT_EQ(adapter->getScheme() + adapter->getName() + "?" + adapter->getOptions(), "purl:n?x=1&y");
    EXPECT_EQ(open("purl:," + file + "?")->getName(), "");
    EXPECT_EQ(open("purl:1,purl:2," + file + "?")->getName(), "1");
}

TEST_F(kxAdapterFactoryTest, AFlushOfAnEncoderReachesWhatIsBelow)
{
    const kxTempDirectory directory;
    EXPECT_TRUE(registry.addManager("test:", kxMakeRef<kxEncoderURLManager<kxSerializeAdapterBCDEncoder>>()));
    const Adapter file = kxSerializeAdapter::getAdapter("test:file:" + kxString(directory.path("out")), 3);
    file->write("AB", 2);
    file->flush();
    EXPECT_EQ(directory.read("out"), "4142");
}

TEST_F(kxAdapterFactoryTest, SixteenLevelsOfNestingAndHostileUrlsEnd)
{
    serve("test:", [](const kxString& url, kxString*) -> Adapter {
        return kxLayeredAdapter<kxSerializeAdapterRandomAccess>(url, 3, 0, "");
    });
    serve("other:",
          [](const kxString&, kxString*) { return kxMakeRef<kxSerializeAdapterMemory>(nullptr, 0U); });
    std::string url = "other:";
    for (int level = 2; level <= 16; ++level) url.insert(0, level % 2 != 0 ? "rand:" : "test:");
    EXPECT_TRUE(open(url));
    kxString reason;
    EXPECT_EQ(open("rand:" + url, &reason), nullptr);
    EXPECT_EQ(reason, "Too many URLs within one another in getAdapter");
    EXPECT_TRUE(open(url)) << "the levels are counted down again";

    for (const std::string start : {"", "rand:", "file:", "mem:", "adapt:", "test:", "x"}) {
        for (const std::string piece : {":", "{", "}", "?", "&", "/", "\\", "rand:", "test:", "{?:&"}) {
            const std::string hostile = start + kxTestRepeated(piece, 65530 / piece.size());
            EXPECT_EQ(open(hostile, &reason), nullptr) << start << piece;
            EXPECT_TRUE(!reason.isEmpty() && reason.length() < 2000) << start << piece << reason.length();
        }
    }
    for (const std::string& text : recorder.texts()) EXPECT_LT(text.size(), 3000U) << "names are shortened";
}
