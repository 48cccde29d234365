#include "kxbase/serialize/kxSerializeAdapterRandomAccess.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/object/kxDestructorRelease.h"
#include "kxbase/object/kxTypeTable.h"

#include <cstring>
#include <limits>

namespace {

constexpr std::uint32_t kGrowthStep = 100;
// What a parent says that it has may be far beyond what comes, so the copy follows the data.
constexpr std::uint32_t kFirstPieceBytes = 1024 * 1024;

}  // namespace

kxSerializeAdapterRandomAccess::kxSerializeAdapterRandomAccess(const kxRefPointer<kxSerializeAdapter>& parent)
    : kxSerializeAdapter(parent), parent_(parent), copy_(kGrowthStep)
{
    // A parent that is in error already shows it without a look.
    endWasMet_ = parent_->hasError();
    const std::uint32_t count = parent_->length();
    if (count == 0) return;
    copy_ = kxDynamicArray<std::uint8_t>(std::min(count, kFirstPieceBytes));
    takeFromParent(count);
}

void kxSerializeAdapterRandomAccess::takeFromParent(std::uint32_t count)
{
    std::uint32_t taken = 0;
    std::uint32_t wanted = 0;
    std::uint32_t got = 0;
    do {
        wanted = std::min(count - taken, std::max(taken, kFirstPieceBytes));
        copy_.resize(taken + wanted);
        got = parent_->read(copy_.data() + taken, wanted);
        taken += got;
    } while (got == wanted && taken < count);
    copy_.resize(taken);
}

kxSerializeAdapterRandomAccess::~kxSerializeAdapterRandomAccess() noexcept(false)
{
    if (!isDirty_) return;
    try {
        parent_->writeBlock(copy_.data(), copy_.size());
    } catch (...) {
        kxDestructorRelease::raiseOrReport();
    }
}

const kxType& kxSerializeAdapterRandomAccess::getType() const
{
    return kxTypeTable::find("kxSerializeAdapterRandomAccess");
}

bool kxSerializeAdapterRandomAccess::hasError()
{
    if (kxSerializeAdapter::hasError()) return true;
    // Asking for the error is no look: what was opened on no data ends only when data is wanted.
    if (!endWasMet_ || hasPushBack() || bytesLeft() != 0) return false;
    // Some parents notice their end only when they are asked for more.
    return parent_->hasError() || (parent_->length() == 0 && parent_->hasError());
}

kxString kxSerializeAdapterRandomAccess::getError()
{
    return kxSerializeAdapter::hasError() ? kxSerializeAdapter::getError() : parent_->getError();
}

// The bytes added are zero.
void kxSerializeAdapterRandomAccess::growTo(std::uint64_t usedCount)
{
    if (usedCount <= copy_.size()) return;
    if (usedCount > std::numeric_limits<std::uint32_t>::max()) kxThrowBadAlloc(__FILE__, __LINE__);
    copy_.resize(static_cast<std::uint32_t>(usedCount));
}

void kxSerializeAdapterRandomAccess::writeBlock(const void* bytes, std::uint32_t count)
{
    if (count == 0) return;
    growTo(std::uint64_t{position_} + count);
    std::memcpy(copy_.data() + position_, bytes, count);
    position_ += count;
    isDirty_ = true;
}

void kxSerializeAdapterRandomAccess::writeByte(std::uint8_t byte)
{
    writeBlock(&byte, 1);
}

std::uint32_t kxSerializeAdapterRandomAccess::readBlock(void* bytes, std::uint32_t count)
{
    const std::uint32_t taken = std::min(count, bytesLeft());
    if (taken < count) endWasMet_ = true;
    if (taken == 0) return 0;
    std::memcpy(bytes, copy_.data() + position_, taken);
    position_ += taken;
    return taken;
}

std::uint8_t kxSerializeAdapterRandomAccess::readByte()
{
    if (getDataLength() == 0) growTo(std::uint64_t{position_} + 1);
    return copy_[position_++];
}

std::uint32_t kxSerializeAdapterRandomAccess::getDataLength()
{
    const std::uint32_t left = bytesLeft();
    if (left == 0) endWasMet_ = true;
    return left;
}

void kxSerializeAdapterRandomAccess::setPosition(std::uint32_t position)
{
    discardPushBack();
    position_ = position;
}
