#include "kxbase/serialize/kxSerializeAdapter.h"

#include "kxbase/containers/kxArray.h"
#include "kxbase/object/kxTypeTable.h"
#include "kxbase/serialize/kxLivingAdapters.h"

#include <algorithm>
#include <limits>

namespace {

constexpr std::uint32_t kPushBackGrowthStep = 8;
constexpr std::uint32_t kInstanceTableSize = 100;
// A caller's count may be far beyond what ever arrives, so memory follows the data in steps of this size.
constexpr std::uint32_t kReadAheadStepBytes = 1024 * 1024;

std::uint32_t saturatedSum(std::uint32_t first, std::uint32_t second)
{
    constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max();
    return first > kMost - second ? kMost : first + second;
}

}  // namespace

kxSerializeAdapter::kxSerializeAdapter() : pushBack_(KX_QUEUE_LIFO, kPushBackGrowthStep)
{
    kxLivingAdapters::enter(this);
}

kxSerializeAdapter::kxSerializeAdapter(const kxRefPointer<kxSerializeAdapter>& parent) : kxSerializeAdapter()
{
    scheme_ = parent->scheme_;
    address_ = parent->address_;
    setName(parent->getName());
    context_ = parent->context_;
    flags_ = parent->flags_;
    options_ = parent->options_;
}

kxSerializeAdapter::~kxSerializeAdapter() noexcept(false)
{
    kxLivingAdapters::leave(this);
}

const kxType& kxSerializeAdapter::getType() const
{
    return kxTypeTable::find("kxSerializeAdapter");
}

void kxSerializeAdapter::attachData(kxReference* object)
{
    if (object != nullptr) attachedData_ = object;
}

std::uint32_t kxSerializeAdapter::flush()
{
    discardPushBack();
    return 0;
}

bool kxSerializeAdapter::hasCapability() const
{
    return true;
}

bool kxSerializeAdapter::isActive()
{
    return true;
}

bool kxSerializeAdapter::hasEnd() const
{
    return false;
}

bool kxSerializeAdapter::hasError()
{
    return !error_.isEmpty();
}

kxString kxSerializeAdapter::getError()
{
    return error_;
}

void kxSerializeAdapter::setError(const kxString& text)
{
    error_ = text;
}

kxRefInstanceDictionary& kxSerializeAdapter::getInstanceDictionary()
{
    if (!instanceDictionary_) {
        instanceDictionary_ = std::make_unique<kxRefInstanceDictionary>(kInstanceTableSize);
    }
    return *instanceDictionary_;
}

kxInstanceTable& kxSerializeAdapter::getInstanceTable()
{
    if (!instanceTable_) instanceTable_ = std::make_unique<kxInstanceTable>(kInstanceTableSize);
    return *instanceTable_;
}

std::uint32_t kxSerializeAdapter::nextInstanceId()
{
    return instanceCounter_++;
}

void kxSerializeAdapter::resetInstances()
{
    instanceCounter_ = 0;
    if (instanceDictionary_) instanceDictionary_->clear();
}

kxString kxSerializeAdapter::translate(const kxString& text)
{
    return text;
}

void kxSerializeAdapter::writeBlock(const void* bytes, std::uint32_t count)
{
    const auto* const begin = static_cast<const std::uint8_t*>(bytes);
    for (std::uint32_t index = 0; index < count; ++index) writeByte(begin[index]);
}

std::uint32_t kxSerializeAdapter::readBlock(void* bytes, std::uint32_t count)
{
    auto* const begin = static_cast<std::uint8_t*>(bytes);
    std::uint32_t taken = 0;
    while (taken < count && (length() != 0 || hasData())) begin[taken++] = readByte();
    return taken;
}

std::uint32_t kxSerializeAdapter::getDataLength()
{
    return 0;
}

bool kxSerializeAdapter::hasData()
{
    return length() != 0;
}

std::uint32_t kxSerializeAdapter::length()
{
    return saturatedSum(pushBack_.length(), getDataLength());
}

std::uint32_t kxSerializeAdapter::readMixed(void* bytes, std::uint32_t count)
{
    if (bytes == nullptr) return skip(count);
    auto* const begin = static_cast<std::uint8_t*>(bytes);
    const std::uint32_t givenBack = std::min(count, pushBack_.length());
    pushBack_.popBlock(begin, givenBack);
    if (givenBack == count) return count;
    return givenBack + readBlock(begin + givenBack, count - givenBack);
}

std::uint32_t kxSerializeAdapter::skip(std::uint32_t count)
{
    for (std::uint32_t index = 0; index < count; ++index) readChar();
    return count;
}

void kxSerializeAdapter::pushBack(const void* bytes, std::uint32_t count)
{
    pushBack_.pushBlockReversed(static_cast<const std::uint8_t*>(bytes), count);
}

bool kxSerializeAdapter::ensureData(std::uint32_t count)
{
    if (count == 0) return isActive();
    if (length() >= count) return true;
    if (count == 1) return hasData();
    return readAhead(count);
}

bool kxSerializeAdapter::readAhead(std::uint32_t count)
{
    kxArray<std::uint8_t> ahead;
    std::uint32_t taken = 0;
    std::uint32_t wanted = 0;
    std::uint32_t got = 0;
    do {
        wanted = std::min(count - taken, kReadAheadStepBytes);
        ahead.resize(taken + wanted);
        got = read(ahead.data() + taken, wanted);
        taken += got;
    } while (got == wanted && taken < count);
    pushBack(ahead.data(), taken);
    return taken == count;
}
