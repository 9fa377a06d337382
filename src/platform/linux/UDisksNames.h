#pragma once

#include <string_view>

// Every D-Bus name of UDisks2 that the program uses.
namespace fillstation::udisks {

inline constexpr const char* kService = "org.freedesktop.UDisks2";
inline constexpr const char* kRoot = "/org/freedesktop/UDisks2";
// A block device's object is this and its kernel name.
inline constexpr const char* kBlockPrefix = "/org/freedesktop/UDisks2/block_devices/";

inline constexpr const char* kObjectManager = "org.freedesktop.DBus.ObjectManager";
inline constexpr const char* kGetManagedObjects = "GetManagedObjects";

inline constexpr const char* kFilesystem = "org.freedesktop.UDisks2.Filesystem";
inline constexpr const char* kMount = "Mount";
inline constexpr const char* kUnmount = "Unmount";

inline constexpr const char* kDrive = "org.freedesktop.UDisks2.Drive";
inline constexpr const char* kEject = "Eject";
inline constexpr const char* kPowerOff = "PowerOff";
inline constexpr const char* kEjectable = "Ejectable";
inline constexpr const char* kCanPowerOff = "CanPowerOff";

inline constexpr const char* kBlock = "org.freedesktop.UDisks2.Block";
inline constexpr const char* kBlockDrive = "Drive";    // object path, "/" for none
inline constexpr const char* kBlockDevice = "Device";  // node path, bytes with a NUL behind

// An option of every method: refuse rather than ask the user for a password.
inline constexpr const char* kNoUserInteraction = "auth.no_user_interaction";

// The names of errors that mean something to us.
inline constexpr std::string_view kErrorAlreadyMounted =
    "org.freedesktop.UDisks2.Error.AlreadyMounted";
inline constexpr std::string_view kErrorNotMounted = "org.freedesktop.UDisks2.Error.NotMounted";
inline constexpr std::string_view kErrorDeviceBusy = "org.freedesktop.UDisks2.Error.DeviceBusy";
inline constexpr std::string_view kErrorFailed = "org.freedesktop.UDisks2.Error.Failed";
inline constexpr std::string_view kErrorNotAuthorized =
    "org.freedesktop.UDisks2.Error.NotAuthorized";
inline constexpr std::string_view kErrorUnknownMethod = "org.freedesktop.DBus.Error.UnknownMethod";
inline constexpr std::string_view kErrorUnknownObject = "org.freedesktop.DBus.Error.UnknownObject";
inline constexpr std::string_view kErrorUnknownInterface =
    "org.freedesktop.DBus.Error.UnknownInterface";
inline constexpr std::string_view kErrorServiceUnknown =
    "org.freedesktop.DBus.Error.ServiceUnknown";
inline constexpr std::string_view kErrorNoReply = "org.freedesktop.DBus.Error.NoReply";
inline constexpr std::string_view kErrorDisconnected = "org.freedesktop.DBus.Error.Disconnected";
// What starting the service on demand may fail with begins with this.
inline constexpr std::string_view kErrorSpawnPrefix = "org.freedesktop.DBus.Error.Spawn.";

}  // namespace fillstation::udisks
