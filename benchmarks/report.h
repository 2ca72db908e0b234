// report.h: how a benchmark prints its one JSON line, and how ours and the peer are measured in turn.
#pragma once

#include <QElapsedTimer>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <vector>

/// Medians of two pieces of work that take turns, so that a noisy machine disturbs both alike.
struct PairOfMedians
{
    double ours = 0;
    double peer = 0;
};

inline double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// Wall-clock milliseconds of `work`.
inline double millisecondsOf(const std::function<void()>& work)
{
    QElapsedTimer clock;
    clock.start();
    work();
    return double(clock.nsecsElapsed()) / 1e6;
}

/// Each of the two returns the figure of one run.
inline PairOfMedians measureInTurn(int rounds, const std::function<double()>& ours, const std::function<double()>& peer)
{
    std::vector<double> ourFigures;
    std::vector<double> peerFigures;
    for (int round = 0; round < rounds; ++round) {
        ourFigures.push_back(ours());
        peerFigures.push_back(peer());
    }
    return {median(ourFigures), median(peerFigures)};
}

/// Prints the line; a `peer` of NaN means that there is none. `ratio` is ours to the peer's.
inline void report(const char* benchmark, const char* unit, double ours, const char* peer, double peerValue,
                   const char* limit)
{
    if (std::isnan(peerValue))
        std::printf("{\"benchmark\":\"%s\",\"unit\":\"%s\",\"ours\":%.3f,\"peer\":null,\"peer_value\":null,"
                    "\"ratio\":null,\"limit\":\"%s\"}\n",
                    benchmark, unit, ours, limit);
    else
        std::printf("{\"benchmark\":\"%s\",\"unit\":\"%s\",\"ours\":%.3f,\"peer\":\"%s\",\"peer_value\":%.3f,"
                    "\"ratio\":%.3f,\"limit\":\"%s\"}\n",
                    benchmark, unit, ours, peer, peerValue, ours / peerValue, limit);
    std::fflush(stdout);
}
