// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
//
// Synthesizes the two sounds Ferrowick plays when a queue ends: "Glass", a
// short bright chime for success, and "Basso", a low muted knock for failure.
// They are made at build time so that no recorded sound is shipped.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr int rate = 44100;

struct Partial {
    double frequency;
    double amplitude;
    double decay; // per second
};

std::vector<int16_t> synthesize(const std::vector<Partial> &partials, double seconds,
                                double attack) {
    const int count = int(seconds * rate);
    std::vector<int16_t> samples(size_t(count), 0);
    for (int i = 0; i < count; ++i) {
        const double t = double(i) / rate;
        double value = 0;
        for (const auto &p : partials) {
            value += p.amplitude * std::exp(-p.decay * t) * std::sin(2 * M_PI * p.frequency * t);
        }
        const double envelope = std::min(1.0, t / attack);
        samples[size_t(i)] = int16_t(std::lround(std::clamp(value * envelope, -1.0, 1.0) * 32000));
    }
    return samples;
}

void put(std::FILE *file, uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        std::fputc(int((value >> (8 * i)) & 0xff), file);
    }
}

bool writeWave(const std::string &path, const std::vector<int16_t> &samples) {
    std::FILE *file = std::fopen(path.c_str(), "wb");
    if (!file) {
        return false;
    }
    const uint32_t dataSize = uint32_t(samples.size() * 2);
    std::fputs("RIFF", file);
    put(file, 36 + dataSize, 4);
    std::fputs("WAVEfmt ", file);
    put(file, 16, 4);
    put(file, 1, 2); // PCM
    put(file, 1, 2); // mono
    put(file, rate, 4);
    put(file, rate * 2, 4);
    put(file, 2, 2);
    put(file, 16, 2);
    std::fputs("data", file);
    put(file, dataSize, 4);
    for (int16_t sample : samples) {
        put(file, uint16_t(sample), 2);
    }
    return std::fclose(file) == 0;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    const std::string folder = argv[1];
    // Inharmonic partials over E6 give the glassy ring.
    const auto glass = synthesize(
        {{1318.5, 0.45, 5.0}, {2637.0, 0.2, 8.0}, {3517.0, 0.12, 11.0}, {5274.0, 0.06, 16.0}}, 0.9,
        0.002);
    // A low A with a quickly damped overtone: a dull knock.
    const auto basso =
        synthesize({{110.0, 0.6, 6.0}, {220.0, 0.25, 12.0}, {330.0, 0.12, 20.0}}, 0.7, 0.005);
    if (!writeWave(folder + "/Glass.wav", glass) || !writeWave(folder + "/Basso.wav", basso)) {
        std::perror("generate-sounds");
        return 1;
    }
    return 0;
}
