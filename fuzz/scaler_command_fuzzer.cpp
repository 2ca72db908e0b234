// links: plugboard::media
#include "media/control/line_splitter.h"
#include "media/scaler_commands.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// The first byte is the size of the reads that the rest arrives in, the second the output format.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
        return 0;
    const int readSize = data[0] + 1;
    PlacementState placement(kScaleAspectFit);
    placement.inputWidth = 1919;
    placement.inputHeight = 1079;
    ScalerCommands commands(placement, data[1] % 32);
    bool enabled = true;
    const EchoSwitch echo = {[&enabled] { return enabled; }, [&enabled](bool on) { enabled = on; }};
    LineSplitter splitter;
    for (std::size_t start = 2; start < size; start += std::size_t(readSize)) {
        const int length = int(std::min(std::size_t(readSize), size - start));
        splitter.append(QString::fromUtf8(reinterpret_cast<const char*>(data) + start, length));
        while (const auto line = splitter.next()) {
            const QString reply = commands.interpret(line->text, echo);
            if (!reply.startsWith(QLatin1String("OK: ")) && !reply.startsWith(QLatin1String("ERROR: ")))
                std::abort();
        }
        if (splitter.pending() > LineSplitter::kMaxLineLength)
            std::abort();
        const PictureArea area = placedArea(placement, 1919, 1079, 640, 480, data[1] % 32);
        if (area.width < 2 || area.width > 8192 || area.height < 2 || area.height > 8192)
            std::abort();
    }
    return 0;
}
