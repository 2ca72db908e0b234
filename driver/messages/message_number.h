// message_number.h: the names of the engine's numbered texts, with what their inserts are.
#pragma once

#include <cstdint>

namespace driver {

/// Where a text has a form for another machine, it is the one named ...Remote and its last insert is the machine.
/// Long help texts have the inserts program and command.
enum class Message : std::uint32_t
{
    None = 0, ///< prints nothing

    Usage = 60000,         // program
    CommandFailed = 60001, // program, command
    CommandUsage = 60002,  // program, command
    Cause = 60010,         // program, error number, text
    CauseOf = 60011,       // program, what failed, error number, text
    NoErrorText = 60012,
    Ignored = 60013,       // program, argument
    NoneNamed = 60014,     // program, class argument
    NotWithExtras = 60015, // program, command

    HelpHead = 60100, // program
    HelpShort = 60101,
    HelpUnknownCommand = 60102, // program

    ClassesHelp = 60200,
    ClassesShort = 60201,
    ClassesRemote = 60202, // count, machine
    Classes = 60203,       // count

    ListClassHelp = 60300,
    ListClassShort = 60301,
    ListClassRemote = 60302,  // count, name, description, machine
    ListClass = 60303,        // count, name, description
    NoClassRemote = 60304,    // name, machine
    NoClass = 60305,          // name
    EmptyClassRemote = 60306, // name, description, machine
    EmptyClass = 60307,       // name, description

    FindHelp = 60400,
    FindShort = 60401,
    NoneFoundRemote = 60402, // machine
    NoneFound = 60403,
    FoundRemote = 60404, // count, machine
    Found = 60405,       // count
    FindAllHelp = 60406,
    FindAllShort = 60407,
    StatusHelp = 60408,
    StatusShort = 60409,
    DriverFilesHelp = 60410,
    DriverFilesShort = 60411,
    ResourcesHelp = 60412,
    ResourcesShort = 60413,
    HardwareIdsHelp = 60414,
    HardwareIdsShort = 60415,
    StackHelp = 60416,
    StackShort = 60417,

    EnableHelp = 60500,
    EnableShort = 60501,
    EnableReboot = 60503, // count
    EnableDone = 60504,   // count
    DisableHelp = 60600,
    DisableShort = 60601,
    DisableReboot = 60603, // count
    DisableDone = 60604,   // count
    RestartHelp = 60700,
    RestartShort = 60701,
    RestartReboot = 60703, // count
    RestartDone = 60704,   // count
    RebootHelp = 60800,
    RebootShort = 60801,
    Rebooting = 60802,

    DeviceProblem = 60904, // problem number
    DevicePrivateProblem = 60905,
    DeviceRunning = 60906,
    DeviceDisabled = 60907,
    DeviceStopped = 60908,
    NoResources = 60910,
    DriverFiles = 60912,        // INF file, section
    DriverWithoutFiles = 60913, // INF file, section
    NoDriver = 60914,
    HardwareIds = 60916,
    CompatibleIds = 60917,
    NoIds = 60918,
    ClassUpperFilters = 60920,
    UpperFilters = 60921,
    Service = 60922,
    LowerFilters = 60923,
    ClassLowerFilters = 60924,
    EmptyStack = 60925,
    DriverNode = 60930, // position from 0, description
    DriverNodeInf = 60931,
    DriverNodeSection = 60932,
    DriverNodeProvider = 60933,
    DriverNodeManufacturer = 60934,
    DriverNodeDate = 60935,
    DriverNodeVersion = 60936,
    NoDriverNodes = 60937,
    NotSet = 60940,
    DeviceClass = 60941, // class name, class GUID
    NoDeviceClass = 60942,
    DeviceName = 60943, // description
    DeviceNotPresent = 60944,
    DeviceStatusUnknown = 60945,

    InstallHelp = 61000,
    InstallShort = 61001,
    DeviceCreated = 61002,
    DeviceNotCreated = 61003, // error
    UpdateHelp = 61100,
    UpdateShort = 61101,
    Updating = 61102,   // hardware id, INF path
    NotUpdated = 61103, // error
    UpdateQuietlyHelp = 61104,
    UpdateQuietlyShort = 61105,
    Updated = 61106,
    AddPackageHelp = 61107,
    AddPackageShort = 61108,
    DeletePackageHelp = 61109,
    DeletePackageShort = 61110,
    ListPackagesHelp = 61111,
    ListPackagesShort = 61112,
    NotAnInf = 61113,
    PackageNotAdded = 61114,   // error
    PackageAdded = 61115,      // stored name
    PackageNotDeleted = 61116, // error
    PackageInUse = 61117,
    PackageNotInstalled = 61118,
    PackageDeleted = 61119, // name
    NoPackages = 61120,
    Packages = 61121,
    Package = 61122, // stored name
    PackageProvider = 61123,
    PackageNoProvider = 61124,
    PackageClass = 61125,
    PackageNoClass = 61126,
    PackageVersion = 61129,
    PackageNoVersion = 61130,
    PackageSigner = 61131,
    PackageNoSigner = 61132,

    RemoveHelp = 61200,
    RemoveShort = 61201,
    NoneRemoved = 61202,
    RemoveReboot = 61203, // count
    RemoveDone = 61204,   // count
    RescanHelp = 61300,
    RescanShort = 61301,
    Rescanning = 61302,
    RescanningRemote = 61303, // machine
    Rescanned = 61304,
    DriverNodesHelp = 61400,
    DriverNodesShort = 61401,
    ClassFilterHelp = 61500,
    ClassFilterShort = 61501,
    FiltersChanged = 61502, // class, value
    Filters = 61503,        // class, value
    SetIdsHelp = 61600,
    SetIdsShort = 61601,
    NoIdsChanged = 61602,
    IdsSkipped = 61603, // skipped, changed
    IdsChanged = 61604, // changed
    NotRootEnumerated = 61605,

    ConfigurationResults = 62000 ///< plus a result of the configuration manager
};

} // namespace driver
