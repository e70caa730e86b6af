// SPDX-License-Identifier: GPL-3.0-or-later
// The web that the link test benches run against: a thousand and more partners on the loopback network, each at its
// own distance, a few of them dead.
#pragma once

#include <string>

namespace partnerServer
{
/// A web of partners. Pages: http://127.1.x.y:PORT/p/N/ for partner N, http://127.0.0.1:PORT/own/ for the own site.
struct Web
{
    int partners = 1000;
    int medianMs = 120; ///< of a log-normal distribution with a long tail (mean about 200 at 120); 0: no delay at all
    bool dead = true;   ///< every hundredth partner accepts and never answers
    int port = 0;
};

/// Milliseconds that partner `number` takes to answer; the same in every process.
int DelayMs(const Web& web, int number);
bool IsDead(const Web& web, int number);
/// "http://127.1.x.y:PORT/p/N/"
std::string PageOf(const Web& web, int number);
/// "http://www.partnerN.example/"
std::string HomeOf(int number);
std::string OwnPage(const Web& web);
inline constexpr char OwnHome[] = "http://www.own-site.example/";

/// Serves until the standard input ends; prints the port in a line of its own first. @return the process's exit code.
int Serve(Web web);
} // namespace partnerServer
