#pragma once

// The parts of the table of file operations, and the functions that print its lines.

#include "Results.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace velmor_tests {

void printPaths();
void printMatches();
void printFileTimes();
void printSystemTimes();
void printVersions();

void print(const std::string& line);

/// Quoted text in UTF-8. Invisible characters are printed in braces, and a long run of one character as {x*count}.
std::string shown(const Velmor::WideString& text);
std::string shown(const Velmor::SystemTime_s& time);
std::string shown(const Version& version);

/// Prints lines for consecutive numbers. Equal consecutive lines are printed once, with the range of their numbers.
class Runs {
public:
    explicit Runs(std::string title) : title_(std::move(title)) {}
    Runs(const Runs&) = delete;
    Runs& operator=(const Runs&) = delete;
    ~Runs() { end(); }

    void add(std::size_t number, const std::string& line);

private:
    void end();

    std::string title_;
    std::string line_;
    std::size_t first_ = 0;
    std::size_t last_ = 0;
    bool any_ = false;
};

/// Pseudo-random numbers (splitmix64). The table depends on this sequence.
class Sequence {
public:
    explicit Sequence(std::uint64_t seed) : state_(seed) {}

    std::uint64_t next() {
        std::uint64_t z = state_ += 0x9E3779B97F4A7C15;
        z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
        z = (z ^ z >> 27) * 0x94D049BB133111EB;
        return z ^ z >> 31;
    }
    std::size_t below(std::size_t limit) { return static_cast<std::size_t>(next() % limit); }
    template <class Container>
    const auto& of(const Container& all) {
        return all[below(all.size())];
    }

private:
    std::uint64_t state_;
};

} // namespace velmor_tests
