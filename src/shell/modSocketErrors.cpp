// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/modSocketErrors.h"

#include <algorithm>
#include <iterator>

namespace
{
struct SocketErrorRow
{
    int number;
    const char* codeName;
    const char* text;
    const char* advice = nullptr;
};

constexpr char NetDown[] = "Your Internet connection is no longer active";
constexpr char NetDownAdvice[] = "Your Internet connection is no longer active.  If you are still connect, \r\n"
                                 "you may try to disconnect and then reconnect to solve this problem.";

// Partners' webmasters quote these texts in their replies and users look them up, so wording, shared rows and the odd
// code name of 61 stay as they have always been.
constexpr SocketErrorRow Rows[] = {
    {-10000, "WSABASEERR", "No Error"},
    {4, "WSAEINTR", "Interrupted system call"},
    {9, "WSAEBADF", "A file error as occured."},
    {13, "WSAEBADF", "A file error as occured."},
    {14, "WSAEBADF", "A file error as occured."},
    {22, "WSAEINVAL", "A program error as occured."},
    {24, "WSAEBADF", "A file error as occured."},
    {35, "WSAEWOULDBLOCK", "Operation would block"},
    {36, "WSAEINPROGRESS", "Operation now in progress"},
    {37, "WSAEALREADY", "Operation already in progress"},
    {38, "WSAENOTSOCK", "Could not connect to host server",
     "Could not connect to host server.  Check your E-mail Server (SMTP) setting \r\n"
     "in your site properties to ensure you are addressing a valid domain name."},
    {39, "WSAEDESTADDRREQ", "Destination address required"},
    {40, "WSAEMSGSIZE", "Message too long"},
    {41, "WSAEPROTOTYPE", "Protocol wrong type for socket"},
    {42, "WSAENOPROTOOPT", "Bad protocol option"},
    {43, "WSAEPROTONOSUPPORT", "Protocol not supported"},
    {44, "WSAESOCKTNOSUPPORT", "Socket type not supported"},
    {45, "WSAEOPNOTSUPP", "Operation not supported on socket"},
    {46, "WSAEPFNOSUPPORT", "Protocol family not supported"},
    {47, "WSAEAFNOSUPPORT", "Address family not supported by protocol family"},
    {48, "WSAEADDRINUSE", "Address already in use"},
    {49, "WSAEADDRNOTAVAIL", "Internet address not found"},
    {50, "WSAENETDOWN", NetDown, NetDownAdvice},
    {51, "WSAENETDOWN", NetDown, NetDownAdvice},
    {52, "WSAENETDOWN", NetDown, NetDownAdvice},
    {53, "WSAECONNABORTED", "Software caused connection abort"},
    {54, "WSAECONNRESET", "Connection reset by peer"},
    {55, "WSAENOBUFS", "No buffer space available"},
    {56, "WSAEISCONN", "Socket is already connected"},
    {57, "WSAENOTCONN", "Socket is not connected"},
    {58, "WSAESHUTDOWN", "Can't send after socket shutdown"},
    {59, "WSAETOOMANYREFS", "Too many references, can't splice"},
    {60, "WSAETIMEDOUT", "The SMTP server connection timed out",
     "The SMTP server connection timed out.  Check your site properties \r\n"
     "to ensure that your email address and host is properly set."},
    {61, "WSAETIMEDOUT", "The SMTP server connection was refused",
     "The SMTP server connection was refused.  Check your site properties \r\n"
     "to ensure that your email address and host is properly set."},
    {62, "WSAELOOP", "Too many levels of symbolic links"},
    {63, "WSAENAMETOOLONG", "File name too long"},
    {64, "WSAEHOSTDOWN", "Host is down"},
    {65, "WSAEHOSTUNREACH", "No Route to Host"},
    {66, "WSAENOTEMPTY", "Directory not empty"},
    {67, "WSAEPROCLIM", "Too many processes"},
    {68, "WSAEUSERS", "Too many users"},
    {69, "WSAEDQUOT", "Disc Quota Exceeded"},
    {70, "WSAESTALE", "Stale NFS file handle"},
    {71, "WSAEREMOTE", "Too many levels of remote in path"},
    {91, "WSASYSNOTREADY", "Network SubSystem is unavailable"},
    {92, "WSAVERNOTSUPPORTED", "WINSOCK DLL Version out of range"},
    {93, "WSANOTINITIALISED", "Successful WSASTARTUP not yet performed"},
    {501, "WSAEHOSTDOWN", "Operation timed out while attempting to connect to host server."},
    {1001, "WSAHOST_NOT_FOUND", "Host address not found"},
    {1002, "WSATRY_AGAIN", "Non-Authoritative Host not found"},
    {1003, "WSANO_RECOVERY", "Non-Recoverable errors: FORMERR, REFUSED, NOTIMP"},
    {1004, "WSANO_DATA or WSANO_ADDRESS",
     "Valid name, no data record of requested type *OR* No address, look for MX record"},
};
} // namespace

QString modSocketErrors::SocketErrorText(int number, QString* codeName, bool advice)
{
    const auto* row = std::find_if(std::begin(Rows), std::end(Rows),
                                   [number](const SocketErrorRow& candidate) { return candidate.number == number; });
    const bool known = row != std::end(Rows);
    if (codeName)
        *codeName = known ? QString::fromLatin1(row->codeName) : QString();
    if (!known)
        return QStringLiteral("Unknown Error");
    return QString::fromLatin1(advice && row->advice ? row->advice : row->text);
}
