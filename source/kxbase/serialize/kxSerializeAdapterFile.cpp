#include "kxbase/serialize/kxSerializeAdapterFile.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/object/kxTypeTable.h"
#include "kxbase/serialize/kxAdapterMessage.h"
#include "kxbase/serialize/kxShortName.h"
#include "kxbase/serialize/kxSystemError.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace {

// The one threshold of both directions.
constexpr std::uint32_t kBlockBytes = 1000000;
constexpr std::string_view kCouldNotFlush = "Could not flush to file '%s' (%s)";

}  // namespace

kxSerializeAdapterFile::kxSerializeAdapterFile(const kxString& fileName, std::uint32_t mode, bool append,
                                               std::uint32_t factoryFlags)
    : fileName_(fileName), mode_(mode), append_(append)
{
    if (mode == (KX_SERIALIZE_OUTPUT | KX_SERIALIZE_INPUT)) {
        mode_ = KX_SERIALIZE_OUTPUT;
        append_ = true;
    }
    setFlags(factoryFlags);
    setName(fileName);
    open();
}

kxSerializeAdapterFile::~kxSerializeAdapterFile() noexcept(false)
{
    close();
}

const kxType& kxSerializeAdapterFile::getType() const
{
    return kxTypeTable::find("kxSerializeAdapterFile");
}

void kxSerializeAdapterFile::open()
{
    const std::string_view failure =
        isWriting() ? "Could not open '%s' for writing (%s)" : "Could not open '%s' for reading (%s)";
    const bool isUsable =
        fileName_.view().find('\0') == std::string_view::npos && (isWriting() || mode_ == KX_SERIALIZE_INPUT);
    if (!isUsable) return fail(failure, KX_PLATFORM_INVALID_ARGUMENT);

    const kxPlatformFileOpened opened =
        isWriting()
            ? kxPlatformFileOpenWrite(fileName_.text(), append_ ? KX_PLATFORM_APPEND : KX_PLATFORM_TRUNCATE)
            : kxPlatformFileOpenRead(fileName_.text());
    if (opened.file == KX_PLATFORM_NO_FILE) return fail(failure, opened.error);
    file_ = opened.file;
    remaining_ = opened.sizeBytes;
    if (!isWriting() && !opened.hasSize) stream_.emplace(file_);
}

void kxSerializeAdapterFile::fail(std::string_view format, kxPlatformError error)
{
    setError(kxString::format(kxTranslate(format), kxShortName(fileName_), kxSystemErrorText(error)));
}

void kxSerializeAdapterFile::setBlockReading(bool reads)
{
    blockReading_ = reads;
    if (stream_) stream_->setReadAhead(reads ? kxStreamInput::kReadAheadBytes : 1);
}

bool kxSerializeAdapterFile::hasError()
{
    if (kxSerializeAdapter::hasError()) return true;
    if (!endWasMet_ || length() != 0) return false;
    if (readError_ != 0)
        tellReadError();
    else
        setError(kxTranslate("End of file"));
    return true;
}

// ---- writing

bool kxSerializeAdapterFile::mayWrite() const
{
    if (isWriting()) return true;
    // Wording kept as programs know it: it names what the file was not opened for.
    kxMessage(KX_MESSAGE_WARNING, "Can use KX_SERIALIZE_INPUT on a file opened for writing !\n");
    return false;
}

void kxSerializeAdapterFile::writeByte(std::uint8_t byte)
{
    if (isWriting() && queue_.length() < kBlockBytes)
        queue_.append(byte);
    else
        writeBlock(&byte, 1);
}

void kxSerializeAdapterFile::writeBlock(const void* bytes, std::uint32_t count)
{
    if (!mayWrite()) return;
    const auto* next = static_cast<const std::uint8_t*>(bytes);
    const auto* const end = next + count;
    while (next != end) {
        const auto left = static_cast<std::uint32_t>(end - next);
        if (queue_.length() >= kBlockBytes && !makeRoom()) {
            lostBytes_ += left;
            return;
        }
        const std::uint32_t piece = std::min(left, kBlockBytes - queue_.length());
        // A whole block with more behind it would be queued and flushed at once; it need not be copied.
        const std::uint32_t written = queue_.isEmpty() && left > kBlockBytes ? writeOut(next, piece) : 0;
        queue_.append(next + written, piece - written);
        next += piece;
    }
}

std::uint32_t kxSerializeAdapterFile::flush()
{
    return !isWriting() || flushQueue() ? 0 : 1;
}

// Flushes a full queue; answers whether another byte can be kept.
bool kxSerializeAdapterFile::makeRoom()
{
    flushQueue();
    return queue_.length() < kBlockBytes;
}

// Answers whether the queue is empty now.
bool kxSerializeAdapterFile::flushQueue()
{
    if (!isOpen()) {
        setError(kxString::format(kxTranslate("Could not flush to file '%s'"), kxShortName(fileName_)));
        return false;
    }
    if (!queue_.isEmpty()) queue_.drop(writeOut(queue_.data(), queue_.length()));
    return queue_.isEmpty();
}

// Writes to the file; answers how much was written.
std::uint32_t kxSerializeAdapterFile::writeOut(const std::uint8_t* bytes, std::uint32_t count)
{
    if (!isOpen()) return 0;
    const kxPlatformIoResult result = kxPlatformFileWrite(file_, bytes, count);
    remaining_ += static_cast<std::uint64_t>(result.count);
    if (result.error != 0) couldNotWrite(result.error);
    return static_cast<std::uint32_t>(result.count);
}

void kxSerializeAdapterFile::couldNotWrite(kxPlatformError error)
{
    fail(kCouldNotFlush, error);
    if (!std::exchange(writeHasFailed_, true)) kxMessage(KX_MESSAGE_WARNING, "%s", getError());
}

void kxSerializeAdapterFile::close()
{
    if (isOpen()) {
        if (isWriting()) flushQueue();
        const kxPlatformError error = kxPlatformFileClose(std::exchange(file_, KX_PLATFORM_NO_FILE));
        if (isWriting() && error != 0) couldNotWrite(error);
    }
    if (isWriting()) lostBytes_ += queue_.length();
    if (lostBytes_ != 0) {
        kxMessage(KX_MESSAGE_WARNING, "%u bytes could not be written to file '%s' and are lost", lostBytes_,
                  kxShortName(fileName_));
    }
}

// ---- reading

bool kxSerializeAdapterFile::mayRead() const
{
    if (!isWriting()) return true;
    // Wording kept as programs know it: it names what the file was not opened for.
    kxAdapterMessage(KX_MESSAGE_WARNING, "Can use KX_SERIALIZE_OUTPUT on a file opened for reading !\n");
    return false;
}

std::uint32_t kxSerializeAdapterFile::getDataLength()
{
    if (isWriting() || !isOpen()) return 0;
    const std::uint64_t left = stream_ ? stream_->length() : queue_.length() + remaining_;
    if (left == 0) noticeEnd();
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(left, std::numeric_limits<std::uint32_t>::max()));
}

std::uint8_t kxSerializeAdapterFile::readByte()
{
    if (!queue_.isEmpty() && !isWriting()) return queue_.takeByte();
    std::uint8_t byte = 0;
    if (!mayRead()) return byte;
    if (stream_ && stream_->read(&byte, 1) == 1) return byte;
    fetch();
    if (!queue_.isEmpty()) return queue_.takeByte();
    noticeEnd();
    return byte;
}

std::uint32_t kxSerializeAdapterFile::readBlock(void* bytes, std::uint32_t count)
{
    if (!mayRead()) return 0;
    auto* const begin = static_cast<std::uint8_t*>(bytes);
    const std::uint32_t taken = stream_ ? stream_->readReady(begin, count) : readFile(begin, count);
    if (taken < count) noticeEnd();
    return taken;
}

std::uint32_t kxSerializeAdapterFile::readFile(std::uint8_t* bytes, std::uint32_t count)
{
    std::uint32_t taken = queue_.take(bytes, count);
    while (taken < count && remaining_ != 0) {
        const std::uint32_t left = count - taken;
        // What would be fetched and taken whole need not pass through the queue.
        if (left >= nextFetchSize()) {
            taken += fetchInto(bytes + taken, nextFetchSize());
        } else {
            fetch();
            taken += queue_.take(bytes + taken, left);
        }
    }
    return taken;
}

// Remembers that somebody asked for more than there is. A stream that has nothing ready has not ended yet.
void kxSerializeAdapterFile::noticeEnd()
{
    if (stream_ && !stream_->hasEnded()) return;
    endWasMet_ = true;
    if (stream_) readError_ = stream_->error();
}

// Bytes that the next fetch asks the file for.
std::uint32_t kxSerializeAdapterFile::nextFetchSize() const
{
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(remaining_, blockReading_ ? kBlockBytes : 1));
}

void kxSerializeAdapterFile::fetch()
{
    const std::uint32_t wanted = nextFetchSize();
    if (wanted != 0) queue_.commit(fetchInto(queue_.room(wanted), wanted));
}

// Reads from the file; when less comes than is wanted, the file was cut short and nothing remains.
std::uint32_t kxSerializeAdapterFile::fetchInto(std::uint8_t* bytes, std::uint32_t wanted)
{
    std::uint32_t got = 0;
    kxPlatformIoResult result{0, 0};
    do {
        result = kxPlatformFileRead(file_, bytes + got, wanted - got);
        if (result.count > 0) got += static_cast<std::uint32_t>(result.count);
    } while (result.count > 0 && got < wanted);
    remaining_ = got == wanted ? remaining_ - got : 0;
    readError_ = result.error;
    return got;
}

void kxSerializeAdapterFile::tellReadError()
{
    fail("Could not read from file '%s' (%s)", readError_);
    kxAdapterMessage(KX_MESSAGE_WARNING, "%s", getError());
}
