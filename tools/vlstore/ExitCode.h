// How the tool ends: the numbers of sysexits, and the exception that carries one together with its one line.
#ifndef VLSTORE_EXITCODE_H
#define VLSTORE_EXITCODE_H

#include <stdexcept>
#include <string>
#include <system_error>

namespace vlstore {

enum class ExitCode : int {
    Ok = 0,
    Usage = 64,         // the command line makes no sense
    Data = 65,          // input is not what it should be, or an item or property does not exist
    NoInput = 66,       // a store, mailbox, folder, file or setting does not exist
    Unavailable = 69,   // the library cannot be loaded, or does not serve this kind of folder
    CannotCreate = 73,  // something is there already, or cannot be made
    IoError = 74,       // reading, writing or saving failed
    Temporary = 75,     // a lock is held; try again later
    NoPermission = 77,  // the user may not read or write what is needed
};

// Ends the verb. `what` is one line for a person, without "vlstore: " and without a line end.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string& what) : std::runtime_error(what), code_(code) {}
    ExitCode Code() const { return code_; }

private:
    ExitCode code_;
};

// The code for an error of the system: a missing permission has its own.
inline ExitCode CodeOf(const std::error_code& error, ExitCode otherwise)
{
    bool refused = error == std::errc::permission_denied || error == std::errc::operation_not_permitted;
    return refused ? ExitCode::NoPermission : otherwise;
}

inline Failure CannotRead(const std::string& path, const std::error_code& error, ExitCode otherwise = ExitCode::IoError)
{
    return Failure(CodeOf(error, otherwise), "cannot read " + path + ": " + error.message());
}

}  // namespace vlstore

#endif
