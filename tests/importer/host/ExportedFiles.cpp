#include "importer/host/ExportedFiles.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <sstream>
#include <stdexcept>

namespace velmor_tests {

namespace {

using Vector = std::array<double, 3>;

Vector difference(const Vector& a, const Vector& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

Vector cross(const Vector& a, const Vector& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

} // namespace

bool ObjFile::isClosed() const {
    std::map<std::array<std::size_t, 2>, int> edges;
    for (const auto& triangle : triangles) {
        for (std::size_t i = 0; i < 3; ++i) {
            const auto a = triangle[i];
            const auto b = triangle[(i + 1) % 3];
            edges[{std::min(a, b), std::max(a, b)}] += a < b ? 1 : a > b ? -1 : 0;
        }
    }
    for (const auto& edge : edges)
        if (edge.second != 0)
            return false;
    return !triangles.empty();
}

double ObjFile::volume() const {
    double sum = 0;
    for (const auto& triangle : triangles) {
        // The volumes of tetrahedra with vertex 0 as their apex: with the origin as apex, the sum loses digits if the solid
        // is far from the origin.
        const auto a = difference(vertices[triangle[0]], vertices[0]);
        const auto b = difference(vertices[triangle[1]], vertices[0]);
        const auto c = difference(vertices[triangle[2]], vertices[0]);
        const auto n = cross(b, c);
        sum += a[0] * n[0] + a[1] * n[1] + a[2] * n[2];
    }
    return sum / 6;
}

double ObjFile::area() const {
    double sum = 0;
    for (const auto& triangle : triangles) {
        const auto n = cross(difference(vertices[triangle[1]], vertices[triangle[0]]),
                             difference(vertices[triangle[2]], vertices[triangle[0]]));
        sum += std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    }
    return sum / 2;
}

ObjFile parseObj(const std::string& text) {
    ObjFile file;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        const auto reject = [&line] { throw std::runtime_error("unexpected line in an OBJ file: " + line); };
        if (lines.eof())
            reject(); // the line has no line feed
        if (file.comment.empty() && line.starts_with("# ")) {
            file.comment = line.substr(2);
            continue;
        }
        std::istringstream words(line);
        std::string kind;
        std::string fields[3];
        words >> kind >> fields[0] >> fields[1] >> fields[2];
        if (!words || !words.eof())
            reject();
        if (kind == "v") {
            auto& vertex = file.vertices.emplace_back();
            for (std::size_t i = 0; i < 3; ++i) {
                char* end = nullptr;
                vertex[i] = std::strtod(fields[i].c_str(), &end);
                if (end != fields[i].c_str() + fields[i].size())
                    reject();
            }
        } else if (kind == "f") {
            auto& triangle = file.triangles.emplace_back();
            for (std::size_t i = 0; i < 3; ++i) {
                std::size_t used = 0;
                triangle[i] = std::stoul(fields[i], &used) - 1;
                if (used != fields[i].size() || triangle[i] >= file.vertices.size())
                    reject();
            }
        } else {
            reject();
        }
    }
    return file;
}

PngHeader parsePng(const std::string& bytes) {
    const auto require = [](bool condition, const char* what) {
        if (!condition)
            throw std::runtime_error(std::string("invalid PNG image: ") + what);
    };
    const auto byte = [&](std::size_t at) { return static_cast<unsigned>(static_cast<unsigned char>(bytes.at(at))); };
    const auto number = [&](std::size_t at) {
        return byte(at) << 24 | byte(at + 1) << 16 | byte(at + 2) << 8 | byte(at + 3);
    };
    require(bytes.compare(0, 8, "\x89PNG\r\n\x1A\n") == 0, "signature");
    require(bytes.size() >= 33 && number(8) == 13 && bytes.compare(12, 4, "IHDR") == 0, "header");
    const PngHeader header{number(16), number(20), byte(24), byte(25)};
    require(byte(26) == 0 && byte(27) == 0 && byte(28) <= 1, "compression, filter, interlacing");
    std::size_t at = 8;
    std::string last;
    while (at < bytes.size()) { // a chunk: length, type, content, checksum
        require(bytes.size() - at >= 12 && number(at) <= bytes.size() - at - 12, "a truncated chunk");
        last = bytes.substr(at + 4, 4);
        at += 12 + std::size_t{number(at)};
    }
    require(last == "IEND", "end");
    return header;
}

} // namespace velmor_tests
