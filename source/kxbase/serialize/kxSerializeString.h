// Text on an adapter: its bytes, then a terminator when that is switched on.
//
// Without a terminator, reading takes everything that the adapter has ready: there is no length prefix.
//
// Ownership: owns its text.
// Threads:   a plain value.
// Errors:    none of its own; the adapter's hasError() tells. The count of bytes read is 16 bits wide: of n bytes,
//            only the last n mod 65536 remain.
// Units:     sizes are in bytes.
#pragma once

#include "kxbase/core/kxSerializeData.h"
#include "kxbase/string/kxString.h"

class kxSerializeString : public kxSerializeData {
public:
    explicit kxSerializeString(const kxString& text = {}, bool usesTerminator = true, char terminator = 0);
    // The terminator stands behind its switch; the other way round, both would convert silently.
    kxSerializeString(const kxString& text, char terminator, bool usesTerminator) = delete;

    void write(kxSerializeAdapter& adapter) const override;
    void read(kxSerializeAdapter& adapter) override;
    void pushBack(kxSerializeAdapter& adapter) const override;
    std::uint32_t getDataSize() const override;

    const kxString& getText() const { return text_; }
    void setText(const kxString& text) { text_ = text; }

private:
    kxString text_;
    char terminator_;
    bool usesTerminator_;
};
