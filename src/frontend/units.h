// Units, and rates of nodes. Any thread.
#pragma once

inline constexpr double SECONDS_PER_MS = 0.001;

// Added to the seconds of a whole run, so that its rate is finite.
inline constexpr double SHORTEST_RUN = 0.01;

inline constexpr double PERCENT = 100.0;

// Nodes per second. Requires seconds >= 0; a millisecond more keeps the rate finite.
inline double NodesPerSecond(double nodes, double seconds) {
    return nodes / (seconds + SECONDS_PER_MS);
}
inline double KiloNodesPerSecond(double nodes, double seconds) {
    constexpr double NODES_PER_KILONODE = 1000.0;
    return NodesPerSecond(nodes, seconds) / NODES_PER_KILONODE;
}
