// Random 32-bit numbers with a fixed seed, so that a failure can be repeated.
#pragma once

#include <cstdint>
#include <random>

class kxTestRandom {
public:
    explicit kxTestRandom(std::uint32_t seed) : engine_(seed) {}
    std::uint32_t operator()() { return static_cast<std::uint32_t>(engine_()); }

private:
    std::mt19937 engine_;
};
