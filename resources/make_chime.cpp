// SPDX-License-Identifier: GPL-3.0-or-later
// Writes Musfall.wav, the chime at the end of a run: four bell tones that fall through a major chord.
// Run at build time: make_chime FILE
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <numbers>
#include <vector>

namespace
{
constexpr int samplesPerSecond = 22050;
constexpr double seconds = 1.2;
/// C7, G6, E6, C6 in hertz: each tone begins while the one before still rings.
constexpr std::array tones{2093.0, 1568.0, 1318.5, 1046.5};
constexpr double secondsBetweenTones = 0.13;

/// A struck bar: the partials are not whole multiples, and the high ones fade first.
double tone(double frequency, double time)
{
    if (time < 0)
        return 0;
    constexpr double pi = std::numbers::pi;
    const double attack = std::min(1.0, time / 0.004);
    return attack * (std::exp(-5.0 * time) * std::sin(2 * pi * frequency * time) +
                     0.25 * std::exp(-9.0 * time) * std::sin(2 * pi * 2.76 * frequency * time) +
                     0.4 * std::exp(-6.0 * time) * std::sin(pi * frequency * time));
}

void put(std::vector<char>& bytes, std::uint32_t value, int count)
{
    for (int i = 0; i < count; ++i)
        bytes.push_back(static_cast<char>(static_cast<unsigned char>(value >> (8 * i))));
}

void put(std::vector<char>& bytes, const char* fourLetters)
{
    bytes.insert(bytes.end(), fourLetters, fourLetters + 4);
}
} // namespace

int main(int count, char** arguments)
{
    if (count != 2) {
        std::cerr << "usage: make_chime FILE\n";
        return 2;
    }
    const auto samples = static_cast<std::uint32_t>(seconds * samplesPerSecond);
    std::vector<double> wave(samples);
    double loudest = 0;
    for (std::uint32_t i = 0; i < samples; ++i) {
        const double time = static_cast<double>(i) / samplesPerSecond;
        for (std::size_t n = 0; n < tones.size(); ++n)
            wave[i] += tone(tones[n], time - secondsBetweenTones * static_cast<double>(n));
        // The last tenth of a second runs out to silence, or the end would click.
        wave[i] *= std::min(1.0, (seconds - time) / 0.1);
        loudest = std::max(loudest, std::abs(wave[i]));
    }

    constexpr std::uint32_t bytesPerSample = 2;
    std::vector<char> file;
    put(file, "RIFF");
    put(file, 36 + samples * bytesPerSample, 4);
    put(file, "WAVE");
    put(file, "fmt ");
    put(file, 16, 4);
    put(file, 1, 2); // PCM
    put(file, 1, 2); // mono
    put(file, samplesPerSecond, 4);
    put(file, samplesPerSecond * bytesPerSample, 4);
    put(file, bytesPerSample, 2);
    put(file, 16, 2); // bits
    put(file, "data");
    put(file, samples * bytesPerSample, 4);
    for (const double value : wave) // half of full scale: a chime, not an alarm
        put(file, static_cast<std::uint32_t>(static_cast<std::int32_t>(std::lround(value / loudest * 16000))), 2);

    std::ofstream out(arguments[1], std::ios::binary);
    out.write(file.data(), static_cast<std::streamsize>(file.size()));
    out.close();
    return out ? 0 : 1;
}
