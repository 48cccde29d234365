// Streams of objects: whatever they say, objects are made of the wanted classes only, and no more of them than the
// stream has bytes for.

#include "kxbase/message/kxMessageManager.h"
#include "kxbase/serialize/kxObjectFactoryOf.h"
#include "kxbase/serialize/kxObjectInput.h"
#include "kxbase/serialize/kxSerializeAdapterMemory.h"
#include "kxbase/string/kxString.h"

#include <cstdlib>
#include <vector>

namespace {

std::size_t livingNodes = 0;

class Leaf : public kxReference, public kxStreamedObjectInterface {
public:
    std::uint32_t getFactoryId() const override { return 2; }
    void writeData(kxObjectOutput&) const override {}
    void readData(kxObjectInput&) override {}
};

class Node : public kxReference, public kxStreamedObjectInterface {
public:
    Node() { ++livingNodes; }
    ~Node() noexcept(false) override { --livingNodes; }
    std::uint32_t getFactoryId() const override { return 1; }
    void writeData(kxObjectOutput&) const override {}
    void readData(kxObjectInput& input) override
    {
        next = input.readObject<Node>();
        input.read(name);
        leaf = input.readObject<Leaf>();
        nodes.push_back(this);
    }

    static std::vector<kxRefPointer<Node>> nodes;
    kxString name;
    kxRefPointer<Node> next;
    kxRefPointer<Leaf> leaf;
};

std::vector<kxRefPointer<Node>> Node::nodes;
kxObjectFactoryOf<Node> nodeFactory(1);
kxObjectFactoryOf<Leaf> leafFactory(2);

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kxMessageManager::instance().setEnabled(false);
    {
        kxSerializeAdapterMemory adapter(const_cast<std::uint8_t*>(data), static_cast<std::uint32_t>(size));
        kxObjectInput input(adapter);
        while (!input.hasError()) input.readObject<Node>();
        if (livingNodes > size) std::abort();
        for (const auto& node : Node::nodes) node->next = nullptr;  // circles keep themselves alive
        Node::nodes.clear();
    }
    if (livingNodes != 0) std::abort();
    return 0;
}
