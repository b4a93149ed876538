#include "ObjFile.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <sstream>
#include <stdexcept>

namespace velmor_tests {

bool ObjFile::isClosed() const {
    std::map<std::array<std::size_t, 2>, int> edges;
    for (const auto& triangle : triangles) {
        for (std::size_t i = 0; i < 3; ++i) {
            const auto a = triangle[i];
            const auto b = triangle[(i + 1) % 3];
            edges[{std::min(a, b), std::max(a, b)}] += a < b ? 1 : a > b ? -1 : 0;
        }
    }
    for (const auto& edge : edges) {
        if (edge.second != 0) {
            return false;
        }
    }
    return !triangles.empty();
}

double ObjFile::volume() const {
    // Tetrahedra on a vertex, since far from the origin the last digits would be lost.
    const auto from = [origin = vertexes.at(0)](const std::array<double, 3>& v) {
        return std::array<double, 3>{v[0] - origin[0], v[1] - origin[1], v[2] - origin[2]};
    };
    double sum = 0;
    for (const auto& triangle : triangles) {
        const auto a = from(vertexes[triangle[0]]);
        const auto b = from(vertexes[triangle[1]]);
        const auto c = from(vertexes[triangle[2]]);
        sum += a[0] * (b[1] * c[2] - b[2] * c[1]) + a[1] * (b[2] * c[0] - b[0] * c[2]) + a[2] * (b[0] * c[1] - b[1] * c[0]);
    }
    return sum / 6;
}

ObjFile parseObj(const std::string& text) {
    ObjFile file;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        const auto refuse = [&line] { throw std::runtime_error("no line of such an OBJ file: " + line); };
        if (lines.eof()) {
            refuse(); // cut off
        }
        if (file.comment.empty() && line.starts_with("# ")) {
            file.comment = line.substr(2);
            continue;
        }
        std::istringstream words(line);
        std::string kind;
        std::string fields[3];
        words >> kind >> fields[0] >> fields[1] >> fields[2];
        if (!words || !words.eof()) {
            refuse();
        }
        if (kind == "v") {
            auto& vertex = file.vertexes.emplace_back();
            for (std::size_t i = 0; i < 3; ++i) {
                char* end = nullptr;
                vertex[i] = std::strtod(fields[i].c_str(), &end);
                if (end != fields[i].c_str() + fields[i].size()) {
                    refuse();
                }
            }
        } else if (kind == "f") {
            auto& triangle = file.triangles.emplace_back();
            for (std::size_t i = 0; i < 3; ++i) {
                std::size_t used = 0;
                triangle[i] = std::stoul(fields[i], &used) - 1;
                if (used != fields[i].size() || triangle[i] >= file.vertexes.size()) {
                    refuse();
                }
            }
        } else {
            refuse();
        }
    }
    return file;
}

} // namespace velmor_tests
