// What the last call of the factory on the calling thread found by its address: an adapter that belongs to somebody
// else. It is handed back as it is, also through the managers of the URLs around the one with the address.
//
// Ownership: only compared, never followed.
// Threads:   concerns the calling thread alone.
#pragma once

class kxSerializeAdapter;

class kxForeignAdapter {
public:
    // Null when the call made an adapter of its own.
    static void note(const kxSerializeAdapter* adapter) noexcept { found_ = adapter; }
    static bool is(const kxSerializeAdapter& adapter) noexcept { return found_ == &adapter; }

private:
    static inline constinit thread_local const kxSerializeAdapter* found_ = nullptr;
};
