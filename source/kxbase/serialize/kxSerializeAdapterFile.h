// A file, scheme "file:", as an endpoint either for writing or for reading, with up to 1,000,000 bytes kept
// between the file and the caller.
//
// Written bytes are held until 1,000,000 are pending or flush() is called; reading fetches up to 1,000,000
// bytes at a time. Blocks of that size go straight between the file and the caller. Pipes, devices and files
// that the system makes up are read as streams: what is ready is what the system reports, or what one read
// ahead finds.
//
// Ownership: owns the open file. The destructor of a writing file flushes and closes it.
// Threads:   takes no lock; one thread at a time.
// Errors:    a file that cannot be opened, read or written leaves the system's reason in the error text. The
//            end of the input is noticed by reading or by asking for the length, never by opening: when
//            everything before has been taken, hasError() sets the text "End of file", or why the file could
//            not be read, which is told in a Warning too. When a write fails, a Warning says so, up to
//            1,000,000 bytes are kept for another try, and bytes that come on top are lost; the number of
//            bytes that were never written is told in a Warning when the file is closed.
//            Reading a file opened for writing, or the converse, sends a Warning and moves nothing.
// Units:     counts are in bytes.
#pragma once

#include "kxbase/platform/kxPlatformFile.h"
#include "kxbase/serialize/kxFileQueue.h"
#include "kxbase/serialize/kxSerializeAdapter.h"
#include "kxbase/serialize/kxStreamInput.h"

#include <optional>

class kxSerializeAdapterFile : public kxSerializeAdapter {
public:
    // Opens the file; whether that succeeded, hasError() tells. Asking for both modes is writing with append.
    // Without append, a file opened for writing starts empty. The adapter's name becomes the file name, until
    // the URL factory gives it the last component of that.
    kxSerializeAdapterFile(const kxString& fileName, std::uint32_t mode, bool append,
                           std::uint32_t factoryFlags = 0);
    ~kxSerializeAdapterFile() noexcept(false) override;
    const kxType& getType() const override;

    // Writing: hands what is pending to the file; answers 0, or 1 when some of it could not be written.
    // Reading: does nothing and answers 0.
    std::uint32_t flush() override;
    bool hasEnd() const override { return !isWriting(); }
    // Also turns the end of the input, or why it came, into the error text.
    bool hasError() override;
    void writeBlock(const void* bytes, std::uint32_t count) override;
    void writeByte(std::uint8_t byte) override;
    std::uint32_t readBlock(void* bytes, std::uint32_t count) override;
    // Answers 0 when nothing is left.
    std::uint8_t readByte() override;
    // Bytes left to read; 0 for a file opened for writing.
    std::uint32_t getDataLength() override;

    // Whether reading fetches up to 1,000,000 bytes at a time, as it does at first, or single bytes.
    void setBlockReading(bool reads);
    const kxString& getFileName() const { return fileName_; }
    // KX_SERIALIZE_OUTPUT or KX_SERIALIZE_INPUT.
    std::uint32_t getMode() const { return mode_; }
    // Reading: bytes not yet fetched. Writing: the size of the file, pending bytes not counted.
    std::uint64_t getRemaining() const { return remaining_; }

private:
    bool isWriting() const { return mode_ == KX_SERIALIZE_OUTPUT; }
    bool isOpen() const { return file_ != KX_PLATFORM_NO_FILE; }
    void open();
    void close();
    // The format takes the file's name and the system's description.
    void fail(std::string_view format, kxPlatformError error);

    bool mayWrite() const;
    bool makeRoom();
    bool flushQueue();
    std::uint32_t writeOut(const std::uint8_t* bytes, std::uint32_t count);
    void couldNotWrite(kxPlatformError error);

    bool mayRead() const;
    std::uint32_t readFile(std::uint8_t* bytes, std::uint32_t count);
    std::uint32_t nextFetchSize() const;
    void fetch();
    std::uint32_t fetchInto(std::uint8_t* bytes, std::uint32_t wanted);
    void noticeEnd();
    void tellReadError();

    kxFileQueue queue_;
    kxString fileName_;
    std::uint32_t mode_;
    kxPlatformFileHandle file_ = KX_PLATFORM_NO_FILE;
    std::uint64_t remaining_ = 0;
    bool blockReading_ = true;
    bool append_;
    std::optional<kxStreamInput> stream_;  // reading: the source, when its size is not known
    bool endWasMet_ = false;               // reading: nothing was left when somebody asked
    kxPlatformError readError_ = 0;        // reading: why the file ended early
    bool writeHasFailed_ = false;
    std::uint64_t lostBytes_ = 0;
};
