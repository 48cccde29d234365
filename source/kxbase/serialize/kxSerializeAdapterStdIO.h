// The console, scheme "con:": reads keys or standard input, writes to the terminal or standard output.
//
// On a terminal, keys arrive one at a time as they are typed, unechoed: Enter is 13 and the erase key is 8.
// A backspace that is written erases the character before the cursor. Where standard input or output is no
// terminal, that direction carries plain bytes in blocks, exactly as they are.
//
// Ownership: uses the standard streams of the process and closes nothing. The terminal's mode is taken at
//            the first look for input and given back by the destructor.
// Threads:   takes no lock; one thread at a time.
// Errors:    the end of the input is noticed by looking for data, never by opening: when everything before has
//            been read, hasError() sets the text "End of file". In the background no key is seen. A failed
//            write loses its bytes, sets the error text, and is told in a Warning and on standard error; a
//            failed read is told in a Warning.
//
// Writing is unbuffered; flush() only throws pushed-back input away. After a hundred looks in a row that found
// nothing, each further look waits up to a millisecond.
#pragma once

#include "kxbase/serialize/kxSerializeAdapter.h"
#include "kxbase/serialize/kxStreamInput.h"

class kxSerializeAdapterStdIO : public kxSerializeAdapter {
public:
    kxSerializeAdapterStdIO();
    ~kxSerializeAdapterStdIO() noexcept(false) override;
    const kxType& getType() const override;

    bool hasEnd() const override { return true; }
    // Also turns the end of the input into the error text.
    bool hasError() override;
    void writeBlock(const void* bytes, std::uint32_t count) override;
    void writeByte(std::uint8_t byte) override;
    std::uint32_t readBlock(void* bytes, std::uint32_t count) override;
    // Waits for a byte; answers 0 when the input has ended.
    std::uint8_t readByte() override;
    // On a terminal 1 when a key is waiting, else 0; elsewhere the bytes that are ready.
    std::uint32_t getDataLength() override;

private:
    bool mayLook();
    bool isKeyWaiting();
    void mapEraseKey(std::uint8_t* bytes, std::uint32_t count);
    void writeErasing(const std::uint8_t* bytes, std::uint32_t count);
    void writeOut(const void* bytes, std::uint32_t count);

    kxStreamInput input_;
    bool readsTerminal_;
    bool writesTerminal_;
    bool hasTakenTerminal_ = false;
    bool writeHasFailed_ = false;
};
