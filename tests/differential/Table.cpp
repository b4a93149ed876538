#include "Table.h"

#include <cstdio>

namespace velmor_tests {

using Velmor::SystemTime_s;
using Velmor::WideString;

namespace {

void appendCharacter(std::string& out, char32_t c) {
    const auto byte = [&](char32_t value) { out += static_cast<char>(static_cast<unsigned char>(value)); };
    if (c < 0x20 || c == '{' || c == '}' || c == 0x7F || (c >= 0xD800 && c < 0xE000)) {
        char text[16];
        std::snprintf(text, sizeof text, "{%02X}", static_cast<unsigned>(c));
        out += text;
    } else if (c < 0x80) {
        byte(c);
    } else if (c < 0x800) {
        byte(0xC0 | c >> 6);
        byte(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        byte(0xE0 | c >> 12);
        byte(0x80 | (c >> 6 & 0x3F));
        byte(0x80 | (c & 0x3F));
    } else {
        byte(0xF0 | c >> 18);
        byte(0x80 | (c >> 12 & 0x3F));
        byte(0x80 | (c >> 6 & 0x3F));
        byte(0x80 | (c & 0x3F));
    }
}

} // namespace

std::string shown(const WideString& text) {
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size();) {
        char32_t c = text[i];
        std::size_t units = 1;
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000) {
            c = 0x10000 + ((c - 0xD800) << 10) + (text[i + 1] - char32_t{0xDC00});
            units = 2;
        }
        std::size_t run = 1;
        while (units == 1 && i + run < text.size() && text[i + run] == text[i])
            ++run;
        if (run > 12) {
            out += "{";
            appendCharacter(out, c);
            out += "*" + std::to_string(run) + "}";
            i += run;
        } else {
            appendCharacter(out, c);
            i += units;
        }
    }
    return out + "\"";
}

std::string shown(const SystemTime_s& time) {
    char text[64];
    std::snprintf(text, sizeof text, "%u-%u-%u %u:%u:%u", unsigned{time.year}, unsigned{time.month}, unsigned{time.day},
                  unsigned{time.hour}, unsigned{time.minute}, unsigned{time.second});
    return text;
}

std::string shown(const Version& version) {
    const auto& [major, minor, build, revision] = version.numbers;
    char text[64];
    std::snprintf(text, sizeof text, "%s %u.%u.%u.%u", version.known ? "true" : "false", major, minor, build, revision);
    return text;
}

void print(const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
}

void Runs::add(std::size_t number, const std::string& line) {
    if (line != line_ || !any_) {
        end();
        first_ = number;
        line_ = line;
        any_ = true;
    }
    last_ = number;
}

void Runs::end() {
    if (any_)
        print(title_ + " " + std::to_string(first_) + "-" + std::to_string(last_) + ": " + line_);
}

} // namespace velmor_tests
