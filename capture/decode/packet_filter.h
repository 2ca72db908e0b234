// packet_filter.h: the words in which a user says which packets to show.
#pragma once

#include "capture/channel/packet_store.h"

#include <QStringList>

#include <functional>

/// Comparisons such as `transfer == bulk`, `endpoint == 0x81`, `status != 0`, `data contains 12 01`, `meaning contains
/// READ` or `unlink`, joined by && (and), || (or), ! (not) and parentheses. A text, in quotes where it stands beside
/// comparisons, is looked for in all columns and in the data. A packet that has no such field fits no comparison with
/// it: requests have no status. An endpoint of 0x80 and above is an address with the direction IN; below that, it is
/// the number of both directions.
struct PacketFilter
{
    using Wants = std::function<bool(const PacketView&)>;
    /// What a packet means: see packetMeaning().
    using MeaningOf = std::function<QString(const PacketView&)>;

    Wants wants;              ///< empty: all packets, and when there is an error. Not for several threads.
    QString text;             ///< that is looked for, where the filter is no more than that
    QString error;            ///< what is wrong with the text, for the user
    int errorPosition = -1;   ///< letters before the place where it is
    bool asksMeaning = false; ///< takes several microseconds a packet then
};

/// Without `meaning`, packets mean nothing.
PacketFilter parsePacketFilter(const QString& text, PacketFilter::MeaningOf meaning = {});

/// Fields, operators and values by name, for completion.
QStringList packetFilterWords();
