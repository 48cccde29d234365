#include "kxbase/serialize/kxObjectFactoryOf.h"
#include "kxbase/serialize/kxObjectInput.h"
#include "kxbase/serialize/kxSerializeString.h"
#include "support/kxTest.h"

namespace {

using Texts = std::vector<std::string>;

constexpr std::uint32_t kNodeId = 1001;
constexpr std::uint32_t kLeafId = 1002;
const char* const kCorrupt = "Corrupt Stream in kxObjectInput!!";

class Leaf : public kxReference, public kxStreamedObjectInterface {
public:
    std::uint32_t getFactoryId() const override { return kLeafId; }
    void writeData(kxObjectOutput&) const override {}
    void readData(kxObjectInput&) override {}
};

class Node : public kxReference, public kxStreamedObjectInterface {
public:
    kxString name;
    kxRefPointer<Node> next;
    kxRefPointer<Leaf> leaf;

    std::uint32_t getFactoryId() const override { return kNodeId; }
    void writeData(kxObjectOutput& output) const override
    {
        output.writeObject(next);
        output.write(kxSerializeString(name));
        output.writeObject(leaf);
    }
    void readData(kxObjectInput& input) override
    {
        const kxRefPointer<kxSerializeAdapter> held(&input.getAdapter());  // as encoders do
        next = input.readObject<Node>();
        kxSerializeString text;
        input.read(text);
        name = text.getText();
        leaf = input.readObject<Leaf>();
    }
};

kxRefPointer<Node> node(const char* name, kxRefPointer<Node> next = {}, kxRefPointer<Leaf> leaf = {})
{
    const auto made = kxMakeRef<Node>();
    made->name = name;
    made->next = next;
    made->leaf = leaf;
    return made;
}

std::string streamOf(const kxRefPointer<Node>& object)
{
    const auto wire = kxTestInput();
    kxObjectOutput(*wire).writeObject(object);
    return kxTestTake(*wire);
}

kxRefPointer<Node> readFrom(const std::string& bytes)
{
    const auto wire = kxTestInput(bytes);
    kxObjectInput input(*wire);
    const kxRefPointer<Node> found = input.readObject<Node>();
    EXPECT_TRUE(!input.hasError() || found == nullptr);
    EXPECT_EQ(input.readObject<Node>(), nullptr);
    return found;
}

class kxObjectStream : public testing::Test {
protected:
    kxObjectFactoryOf<Node> nodes_{kNodeId};
    kxObjectFactoryOf<Leaf> leaves_{kLeafId};
};

}  // namespace

TEST(kxObjectFactory, MakesObjectsOfRegisteredNumbersOnly)
{
    kxMessageRecorder recorder;
    EXPECT_EQ(kxObjectFactory::create(kNodeId), nullptr);
    EXPECT_EQ(recorder.entries().at(0).level, KX_MESSAGE_WARNING);
    EXPECT_EQ(recorder.takeTexts(), Texts{"Factory Object Id '1001' not registered"});
    {
        kxObjectFactoryOf<Node> nodes(kNodeId);
        const kxRefPointer<kxReference> first = kxObjectFactory::create(kNodeId);
        const kxRefPointer<kxReference> second = kxObjectFactory::create(kNodeId);
        EXPECT_NE(dynamic_cast<Node*>(first.get()), nullptr);
        EXPECT_NE(first, second);
        EXPECT_EQ(first->getReferenceCount(), 1U);
        EXPECT_EQ(kxFatalText([] { kxObjectFactoryOf<Leaf>{kNodeId}; }),
                  "Factory Object Id '1001' already registered");
        EXPECT_FALSE(kxObjectFactory::remove(kLeafId, nodes));
        EXPECT_NE(kxObjectFactory::create(kNodeId), nullptr);
    }
    EXPECT_TRUE(recorder.takeTexts().empty());
    EXPECT_EQ(kxObjectFactory::create(kNodeId), nullptr) << "not served from what was found last";
}

TEST_F(kxObjectStream, KeepsWhoRefersToWhom)
{
    const auto shared = kxMakeRef<Leaf>();
    const auto last = node("last", {}, shared);
    const auto first = node("first", node("second", last, shared));
    last->next = first;
    EXPECT_EQ(streamOf(node("n")), std::string("\x02\xE9\x03\0\0\x04\0n\0\0", 10));

    const auto wire = kxTestInput();
    kxObjectOutput output(*wire);
    output.writeObject(first);
    output.writeObject(kxRefPointer<Node>());
    output.writeObject(last);
    wire->resetInstances();
    output.writeObject(last->next);

    kxObjectInput input(*wire);
    const auto found = input.readObject<Node>();
    ASSERT_NE(found, nullptr);
    const auto second = found->next;
    EXPECT_EQ(second->name, "second");
    EXPECT_EQ(second->next->next, found) << "a circle";
    EXPECT_EQ(second->leaf, second->next->leaf);
    EXPECT_EQ(found->leaf, nullptr);
    EXPECT_TRUE(input.readObject<Node>() == nullptr && !input.hasError()) << "null is no error";
    EXPECT_EQ(input.readObject<Node>(), second->next) << "known from the stream before";
    const auto again = input.readObject<Node>();
    EXPECT_TRUE(again != found && again->name == "first") << "a new table has begun";
    EXPECT_EQ(wire->length(), 0U);
    for (const auto& circle : {first, found, again}) circle->next->next->next = nullptr;
}

TEST_F(kxObjectStream, AChainOfAnyLengthNeedsNoStack)
{
    kxRefPointer<Node> chain;
    for (int count = 0; count < 30000; ++count) chain = node("link", chain);
    const auto found = readFrom(streamOf(chain) + std::string(1, '\0'));
    int count = 0;
    for (const Node* at = found.get(); at != nullptr; at = at->next.get()) ++count;
    EXPECT_EQ(count, 30000);
}

TEST_F(kxObjectStream, AnUnknownFactoryCostsItsObjectsOnly)
{
    const auto leaf = kxMakeRef<Leaf>();
    std::string bytes = streamOf(node("first", node("second", {}, leaf), leaf));
    for (std::size_t at = 0; (at = bytes.find("\xEA\x03", at)) != std::string::npos;) bytes[at] = '\xEB';
    kxMessageRecorder recorder;
    const auto found = readFrom(bytes + std::string(1, '\0'));
    EXPECT_EQ(recorder.takeTexts(),
              (Texts{"Factory Object Id '1003' not registered", "Unknown Factory : 1003"}));
    EXPECT_EQ(found->leaf, nullptr);
    EXPECT_EQ(found->next->name, "second");
    EXPECT_EQ(found->next->leaf, nullptr) << "mentioned again";
}

TEST_F(kxObjectStream, WhatIsNoStreamGivesNullAndOneWarning)
{
    const std::string sound = streamOf(node("first", node("second"), kxMakeRef<Leaf>()));
    std::vector<std::pair<std::string, std::string>> cases = {
        {"an id that nobody has", "\x0B"},
        {"an id above 32 bits", "\x82\x80\x80\x80\x80\x01"},
        {"a number without end", std::string(20, '\xFF')},
        {"data larger than the stream", std::string("\x02\xE9\x03\0\0", 5) + "\xFF\xFF\xFF\xFF\x0F"},
        {"data larger than anything", std::string("\x02\xE9\x03\0\0", 5) + std::string(8, '\xFF') + "\x7F"},
        {"less data than the object takes", std::string("\x02\xE9\x03\0\0\x01\0", 7)},
        {"another class than wanted", std::string("\x02\xEA\x03\0\0\0", 6)},
        {"an object inside of another class", std::string("\x02\xE9\x03\0\0\x05\x04\xEA\x03\0\0", 11)},
        {"an id that is taken", std::string("\x02\xE9\x03\0\0\x0C\x04\xE9\x03\0\0\0\x04\xEA\x03\0\0", 18)},
    };
    for (std::size_t size = 0; size < sound.size(); ++size)
        cases.emplace_back("cut at " + std::to_string(size), sound.substr(0, size));
    for (const auto& [why, bytes] : cases) {
        SCOPED_TRACE(why);
        kxMessageRecorder recorder;
        EXPECT_EQ(readFrom(bytes), nullptr);
        EXPECT_EQ(recorder.takeTexts(), Texts{kCorrupt});
    }
    kxMessageRecorder recorder;
    EXPECT_EQ(readFrom(sound + std::string(1, '\0'))->next->name, "second");
    EXPECT_TRUE(recorder.takeTexts().empty());
}
