// What the program does while its user waits, measured inside the process.

#include "files/CodeplugFile.h"
#include "sim/SampleMemory.h"
#include "ui/main/frmMain.h"
#include "ui/service/frmMemoryMap.h"

#include <QApplication>

#include <benchmark/benchmark.h>

#include <random>

namespace k470 {

namespace {

class NoStore : public PreferenceStore {
public:
    std::string GetKeyValue(std::string_view) const override { return {}; }
    bool UpdateKey(std::string_view, std::string_view) override { return false; }
};

/// The main window with 99 programmed channels.
struct FullWindow {
    FullWindow() {
        state.image = MakeSampleMemory(MaxChannels);
        FollowImage(state);
        window.RefreshAll();
        window.show();
        QCoreApplication::processEvents();
    }
    NoStore store;
    AppState state;
    frmMain window{state, store};
};

/// Measures a call and the painting that it causes.
void Measure(benchmark::State &run, void (frmMain::*routine)()) {
    FullWindow full;
    for ([[maybe_unused]] auto _ : run) {
        (full.window.*routine)();
        QCoreApplication::processEvents();
    }
}

void RefreshChData(benchmark::State &run) {
    Measure(run, &frmMain::RefreshChData);
}

void StoreChannels(benchmark::State &run) {
    Measure(run, &frmMain::StoreChannels);
}

void RefreshAll(benchmark::State &run) {
    Measure(run, &frmMain::RefreshAll);
}

void OpenMemoryMap(benchmark::State &run) {
    FullWindow full;
    for ([[maybe_unused]] auto _ : run) {
        frmMemoryMap map(full.state, &full.window);
        map.show();
        map.repaint();
        QCoreApplication::processEvents();
    }
}

MemoryImage FullImage() {
    MemoryImage image;
    std::mt19937 random(1);
    for (std::uint8_t &byte : image)
        byte = static_cast<std::uint8_t>(random());
    return image;
}

MemoryImage EmptyImage() {
    AppState state;
    NewImage(state);
    return state.image;
}

void Pack(benchmark::State &run, const MemoryImage &image) {
    for ([[maybe_unused]] auto _ : run)
        benchmark::DoNotOptimize(PackImage(image));
}

void Unpack(benchmark::State &run, const MemoryImage &image) {
    const auto packed = PackImage(image);
    MemoryImage unpacked{};
    for ([[maybe_unused]] auto _ : run)
        benchmark::DoNotOptimize(UnpackImage(packed, unpacked));
}

BENCHMARK(RefreshChData)->Name("refresh of 99 channels")->Unit(benchmark::kMillisecond);
BENCHMARK(StoreChannels)->Name("storing of 99 channels")->Unit(benchmark::kMillisecond);
BENCHMARK(RefreshAll)->Name("refresh of all")->Unit(benchmark::kMillisecond);
BENCHMARK(OpenMemoryMap)->Name("opening of the memory map")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Pack, full, FullImage())->Name("packing, random bytes")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Pack, empty, EmptyImage())->Name("packing, new codeplug")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Pack, sample, MakeSampleMemory(MaxChannels))
    ->Name("packing, 99 channels")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Unpack, full, FullImage())->Name("unpacking, random bytes")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Unpack, empty, EmptyImage())
    ->Name("unpacking, new codeplug")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Unpack, sample, MakeSampleMemory(MaxChannels))
    ->Name("unpacking, 99 channels")
    ->Unit(benchmark::kMicrosecond);

} // namespace

} // namespace k470

int main(int argc, char **argv) {
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
