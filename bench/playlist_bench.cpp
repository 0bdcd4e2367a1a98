/*
 * A playlist of ten thousand files: what an entry costs beside the library's own check of its file, how long
 * the list takes to draw itself while it is scrolled, and how much memory it keeps. The limit in the same run
 * is the toolkit's bare list with the same texts.
 *
 * Usage: playlist_bench [FILES]. Draws on whatever platform Qt finds; "offscreen" does without an X server.
 */
#include "app/TalvioDlg.h"
#include "playlist/ListBox.h"
#include "tests/support/ClipMaker.h"
#include "tests/support/TemporaryFolder.h"

#include <QApplication>
#include <QListWidget>
#include <QScrollBar>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double MsSince(Clock::time_point from) {
    return std::chrono::duration<double, std::milli>(Clock::now() - from).count();
}

// Memory of this process that is in use, in KiB.
double MemoryKib() {
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("VmRSS:")) return std::stod(line.substr(6));
    }
    return 0;
}

struct Cost {
    double ms = 0;
    double kib = 0;
};

// What `work` takes, with all that it leaves to the event loop.
template <typename Work>
Cost Measure(const Work& work) {
    const double memory = MemoryKib();
    const auto from = Clock::now();
    work();
    QCoreApplication::processEvents();
    return {MsSince(from), MemoryKib() - memory};
}

// Draws the list at 400 places from its top to its end; the times sorted.
std::vector<double> Scroll(QListWidget& list) {
    constexpr int kPlaces = 400;
    std::vector<double> times;
    for (int place = 0; place <= kPlaces; ++place) {
        const auto from = Clock::now();
        list.verticalScrollBar()->setValue(list.verticalScrollBar()->maximum() * place / kPlaces);
        list.viewport()->repaint();
        times.push_back(MsSince(from));
    }
    std::sort(times.begin(), times.end());
    return times;
}

void PrintCost(const char* what, const Cost& cost, int files) {
    std::printf("| %-44s | %8.4f ms a file | %6.0f KiB, %.2f a file |\n", what, cost.ms / files, cost.kib,
                cost.kib / files);
}

void PrintTimes(const char* what, const std::vector<double>& times) {
    std::printf("| %-44s | %8.3f ms median | %.3f ms longest |\n", what, times[times.size() / 2],
                times.back());
}

void Run(int files) {
    const support::TemporaryFolder folder;
    support::ClipOptions options;
    options.frames = 30;
    support::MakeClip(folder / "film.mp4", options);
    std::vector<QString> paths;
    for (int n = 0; n < files; ++n) {
        const std::string path = folder / ("recording of a camera " + std::to_string(n) + ".mp4");
        std::filesystem::create_hard_link(folder / "film.mp4", path);
        paths.push_back(QString::fromStdString(path));
    }
    std::filesystem::current_path(folder.Path()); // where the window keeps its settings

    CTalvioDlg dlg(nullptr);
    dlg.show();
    auto* pList = dlg.findChild<CListBox*>();
    QCoreApplication::processEvents();

    QListWidget bare;
    bare.resize(pList->size());
    bare.setStyleSheet(pList->styleSheet());
    bare.show();
    QCoreApplication::processEvents();

    const Cost bareCost = Measure([&] {
        for (const QString& path : paths) {
            auto* pItem = new QListWidgetItem(path.mid(path.lastIndexOf('/') + 1));
            pItem->setStatusTip(path);
            pItem->setToolTip(path);
            bare.addItem(pItem);
        }
        bare.setCurrentRow(files - 1);
    });
    const Cost cost = Measure([&] {
        for (const QString& path : paths)
            dlg.AddFile2List(path, false);
    });
    if (pList->count() != files) throw std::runtime_error("not every file was listed");
    const Cost again = Measure([&] {
        for (const QString& path : paths)
            dlg.AddFile2List(path, false);
    });
    const Cost check = Measure([&] {
        for (const QString& path : paths) {
            if (!dlg.JudgeFileType(path)) throw std::runtime_error("a file was rejected");
        }
    });
    const std::vector<double> bareTimes = Scroll(bare);
    const std::vector<double> times = Scroll(*pList);

    std::printf("%d files, platform %s\n\n", files, qPrintable(QGuiApplication::platformName()));
    PrintCost("adding to the playlist", cost, files);
    PrintCost("the same to the toolkit's bare list", bareCost, files);
    PrintCost("adding what is listed already", again, files);
    PrintCost("the library's check of a file", check, files);
    PrintTimes("drawing the playlist while it is scrolled", times);
    PrintTimes("the same for the toolkit's bare list", bareTimes);
}

} // namespace

int main(int argc, char** argv) {
    const int files = argc > 1 ? std::atoi(argv[1]) : 10000;
    try {
        const QApplication app(argc, argv);
        Run(files);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "playlist_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
