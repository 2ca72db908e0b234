// seen_devices.h: what the traffic itself has told of its devices, and what that makes of a packet.
#pragma once

#include "capture/channel/packet_store.h"
#include "capture/decode/class_names.h"

#include <map>
#include <memory>
#include <optional>
#include <vector>

/// What is known of a packet from others.
struct PacketContext
{
    QByteArray setup;                       ///< of control transfers, of their request; else empty
    std::optional<InterfaceKind> interface; ///< that the transfer is meant for
    std::optional<UnitKind> unit;           ///< of video and audio, that a class request is meant for
    std::uint8_t pipe = 0;                  ///< of USB Attached SCSI: bPipeID
    QByteArray reportDescriptor;            ///< of HID interfaces
};

/// Learns configurations, which of them was chosen, alternate settings and report descriptors from control transfers.
/// What was said last before a packet goes for it, and for packets before all of that what was said first. Reads as
/// little as it can of the store: the transfers that the store has noted, and the neighbours of the packet.
class SeenDevices
{
public:
    /// `first`: number of the first packet that counts.
    explicit SeenDevices(std::shared_ptr<const PacketStore> store, std::size_t first = 0);

    PacketContext contextOf(std::size_t number);

private:
    struct Endpoint
    {
        std::uint8_t address = 0;
        std::uint8_t pipe = 0;
        InterfaceKind interface;
    };
    struct Configuration
    {
        std::size_t number = 0; // of the packet that told
        QByteArray bytes;
        std::uint8_t value = 0; // by which a request chooses it
        std::vector<InterfaceKind> interfaces;
        std::vector<UnitKind> units;
        std::vector<Endpoint> endpoints;
    };
    struct Choice
    {
        std::size_t number = 0;
        std::uint8_t value = 0; // of the configuration
    };
    struct Setting
    {
        std::size_t number = 0;
        std::uint8_t interface = 0;
        std::uint8_t alternate = 0;
    };
    struct Report
    {
        std::size_t number = 0;
        std::uint8_t interface = 0;
        QByteArray descriptor;
    };
    struct Device
    {
        std::vector<Configuration> configurations;
        std::vector<Choice> choices;
        std::vector<Setting> settings;
        std::vector<Report> reports;
    };

    void learn();
    bool learnFrom(std::size_t request);
    static void learnConfiguration(Device& device, const QByteArray& bytes, std::size_t number);
    static const Configuration* configurationFor(const Device& device, std::size_t number);
    static Configuration configurationOf(const QByteArray& bytes, std::size_t number);
    static void findEndpoint(const Device& device, const Configuration& configuration, std::size_t number,
                             std::uint8_t address, PacketContext& context);
    static void findInterface(const Device& device, const Configuration& configuration, std::size_t number,
                              std::uint8_t index, PacketContext& context);
    static std::uint8_t alternateOf(const Device& device, std::uint8_t interface, std::size_t number);

    PacketReader m_reader;
    std::size_t m_first;
    std::size_t m_learned = 0; // notes of the store
    std::map<std::uint32_t, Device> m_devices;
};
