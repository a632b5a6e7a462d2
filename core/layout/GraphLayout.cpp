#include "core/layout/GraphLayout.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <unordered_map>

namespace vantrel {

namespace {

constexpr double kFullTurn = 6.283185307179586;
constexpr int kIterations = 140;
constexpr double kRepulsion = 0.01;
constexpr double kMinSquaredDistance = 0.0009;
constexpr double kSpring = 0.035;
constexpr double kSpringRestLength = 0.18;
constexpr double kMinEdgeLength = 0.03;
constexpr double kDamping = 0.85;

// An undirected call between two sorted indices, always a < b.
struct Edge {
    int a;
    int b;
    auto operator<=>(const Edge&) const = default;
};

Point circlePosition(std::size_t index, std::size_t count) {
    const double angle = static_cast<double>(index) / static_cast<double>(count) * kFullTurn;
    return Point{kCircleLayoutRadius * std::cos(angle), kCircleLayoutRadius * std::sin(angle)};
}

double clamp(double value) { return std::max(std::min(value, kLayoutBound), -kLayoutBound); }

// Sorted so that the spring sums below never depend on the order of any set.
std::vector<Edge> undirectedEdges(const ProjectIR& ir) {
    std::unordered_map<std::string_view, int> indexOf;
    indexOf.reserve(ir.symbols.size());
    int next = 0;
    for (const auto& entry : ir.symbols) indexOf.emplace(entry.first, next++);

    std::vector<Edge> edges;
    int self = 0;
    for (const auto& entry : ir.symbols) {
        for (const auto& callee : entry.second.refsOut) {
            auto found = indexOf.find(callee);
            if (found == indexOf.end() || found->second == self) continue;
            edges.push_back(Edge{std::min(self, found->second), std::max(self, found->second)});
        }
        ++self;
    }
    std::sort(edges.begin(), edges.end());
    edges.erase(std::unique(edges.begin(), edges.end()), edges.end());
    return edges;
}

}  // namespace

NodePositions computeCircleLayout(const std::vector<std::string>& ids) {
    NodePositions positions;
    for (std::size_t i = 0; i < ids.size(); ++i) positions[ids[i]] = circlePosition(i, ids.size());
    return positions;
}

NodePositions computeForceLayout(const ProjectIR& ir) {
    // `symbols` is ordered by id, so its keys are the sorted id list.
    std::vector<std::string> ids;
    ids.reserve(ir.symbols.size());
    for (const auto& entry : ir.symbols) ids.push_back(entry.first);
    if (ids.empty()) return {};
    if (ids.size() > kForceLayoutLimit) return computeCircleLayout(ids);

    const std::vector<Edge> edges = undirectedEdges(ir);
    const std::size_t n = ids.size();

    // Flat arrays indexed by sorted position; ids are not touched during the simulation.
    std::vector<double> px(n), py(n), vx(n, 0.0), vy(n, 0.0), fx(n), fy(n);
    for (std::size_t i = 0; i < n; ++i) {
        const Point p = circlePosition(i, n);
        px[i] = p.x;
        py[i] = p.y;
    }

    for (int step = 0; step < kIterations; ++step) {
        std::fill(fx.begin(), fx.end(), 0.0);
        std::fill(fy.begin(), fy.end(), 0.0);

        // Repulsion over all pairs i < j. Force i is summed in a register in the same
        // order (ascending j) as it would be in the array.
        for (std::size_t i = 0; i < n; ++i) {
            const double xi = px[i];
            const double yi = py[i];
            double fxi = fx[i];
            double fyi = fy[i];
            for (std::size_t j = i + 1; j < n; ++j) {
                const double dx = xi - px[j];
                const double dy = yi - py[j];
                const double s = std::max(dx * dx + dy * dy, kMinSquaredDistance);
                const double inverse = 1.0 / s;
                const double fxij = dx * kRepulsion * inverse;
                const double fyij = dy * kRepulsion * inverse;
                fxi += fxij;
                fyi += fyij;
                fx[j] -= fxij;
                fy[j] -= fyij;
            }
            fx[i] = fxi;
            fy[i] = fyi;
        }

        for (const Edge& e : edges) {
            const double dx = px[e.b] - px[e.a];
            const double dy = py[e.b] - py[e.a];
            const double l = std::max(std::sqrt(dx * dx + dy * dy), kMinEdgeLength);
            const double stretch = l - kSpringRestLength;
            const double fxab = dx / l * kSpring * stretch;
            const double fyab = dy / l * kSpring * stretch;
            fx[e.a] += fxab;
            fy[e.a] += fyab;
            fx[e.b] -= fxab;
            fy[e.b] -= fyab;
        }

        for (std::size_t i = 0; i < n; ++i) {
            vx[i] = (vx[i] + fx[i]) * kDamping;
            vy[i] = (vy[i] + fy[i]) * kDamping;
            px[i] = clamp(px[i] + vx[i]);
            py[i] = clamp(py[i] + vy[i]);
        }
    }

    NodePositions positions;
    for (std::size_t i = 0; i < n; ++i) positions.emplace_hint(positions.end(), ids[i], Point{px[i], py[i]});
    return positions;
}

}  // namespace vantrel
