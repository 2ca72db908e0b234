// inf_package.h: what the simulated system takes from a driver package's INF.
#pragma once

#include "driver/outcome.h"
#include "driver/platform/device_tree.h"
#include "driver/platform/inf_file.h"

namespace driver {

/// One model that a package can install.
struct InfModel
{
    std::wstring description;
    std::wstring manufacturer;
    std::wstring section; ///< the install section as the models name it
    TextList ids;         ///< hardware ids, best first
};

class InfPackage
{
public:
    /// Refuses what is no driver package: without a Windows signature (wrong style), and without a class GUID, a
    /// provider, a dated version or a single model (syntax).
    static Outcome<InfPackage> read(std::string_view bytes);

    const Guid& setupClass() const { return m_class; }
    std::wstring className() const { return m_inf.value(L"Version", L"Class"); }

    /// The first model that names one of `ids`, the earlier id before the later; null when none does.
    const InfModel* modelFor(const TextList& ids) const;

    /// The driver of a model, with the files that it copies; `infName` is the name of the stored INF.
    SimulatedDriver driver(const InfModel& model, const std::wstring& infName) const;

    /// Service that the model's device runs, empty without one.
    std::wstring service(const InfModel& model) const;

    /// Interface classes that the model's install section adds to its device.
    std::vector<Guid> interfaces(const InfModel& model) const;

    /// Whether the model's install section asks for a restart.
    bool needsReboot(const InfModel& model) const;

private:
    explicit InfPackage(InfFile inf) : m_inf(std::move(inf)) {}

    void readModels();
    /// The lines with that key in the model's install section, or in the one of its name and the suffix.
    std::vector<InfFile::Line> installLines(const InfModel& model, std::wstring_view suffix,
                                            std::wstring_view key) const;
    TextList files(const InfModel& model) const;

    InfFile m_inf;
    Guid m_class;
    std::uint64_t m_version = 0;
    std::uint64_t m_date = 0;
    std::vector<InfModel> m_models;
};

} // namespace driver
