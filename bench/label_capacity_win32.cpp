// How large a label sheet the library holds in the address space of its host: imports FILE as the
// import command does, prints the page and exports the sheet as .xlsx to OUT, through the
// portable form with a host channel that only counts. Each step reports "ok" or "out of memory";
// the process goes on after either. The peak of the memory the process holds is sampled while
// the steps run ("peak"), and what it holds once the form is gone ("after").
// scripts/label-capacity-i686.sh searches the row count under 32-bit Wine.
//
// bench_label_capacity.exe FILE OUT
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <functional>
#include <new>
#include <optional>
#include <string>
#include <thread>

#include "form/label_tool_form.h"

using namespace kes;

namespace {

class CountingPlatform : public FormPlatform {
public:
    void showMessage(const std::u16string&) override {}
    void sendCopyData(HostWindow, uint16_t, uint32_t, const std::string& payload) override { bytes = payload.size(); }
    void sendPlain(HostWindow, uint16_t, uintptr_t) override {}
    Guid newGuid() override { return {++counter, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}}; }
    std::u16string clipboardText() override { return {}; }
    void closeForm() override {}
    std::optional<std::u16string> chooseFileToOpen(const std::u16string&, int) override { return input; }
    std::optional<std::u16string> chooseFileToSave(const std::u16string&, int, const std::u16string&) override {
        return output;
    }

    std::u16string input, output;
    size_t bytes = 0;
    uint32_t counter = 0;
};

// The memory the process holds: its committed pages, from a walk over every region. (What
// VirtualQuery says of the rest means little under Wine without its preloader, which
// counts everything outside its own views as reserved.)
size_t committedBytes() {
    size_t committed = 0;
    MEMORY_BASIC_INFORMATION region;
    uintptr_t address = 0;
    while (VirtualQuery(reinterpret_cast<void*>(address), &region, sizeof region) == sizeof region) {
        if (region.State == MEM_COMMIT) committed += region.RegionSize;
        const uintptr_t next = reinterpret_cast<uintptr_t>(region.BaseAddress) + region.RegionSize;
        if (next <= address) break;
        address = next;
    }
    return committed;
}

// Samples the committed memory every few milliseconds while it lives and keeps the highest.
class PeakSampler {
public:
    PeakSampler() : thread_([this] {
        while (!stop_) {
            sample();
            Sleep(20);
        }
    }) {}
    ~PeakSampler() {
        stop_ = true;
        thread_.join();
    }
    double peakMiB() const { return peak_ / 1048576.0; }

private:
    void sample() { peak_ = std::max<size_t>(peak_, committedBytes()); }

    std::atomic<bool> stop_ = false;
    std::atomic<size_t> peak_ = 0;
    std::thread thread_;
};

// Runs one command; true when it completed.
bool step(const char* name, const std::function<void()>& command) {
    try {
        command();
        std::printf("%s ok\n", name);
        return true;
    } catch (const std::bad_alloc&) {
        std::printf("%s out of memory\n", name);
    } catch (const std::exception& error) {
        std::printf("%s failed: %s\n", name, error.what());
    }
    return false;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: bench_label_capacity FILE OUT\n");
        return 2;
    }
    CountingPlatform platform;
    platform.input = reinterpret_cast<const char16_t*>(argv[1]);
    platform.output = reinterpret_cast<const char16_t*>(argv[2]);
    std::optional<PeakSampler> peak;
    {
        TFrmLabelTool form(platform);
        form.MyHandle = 1;
        form.MyFDataSource = u"[\"\u5E8F\u53F7\",\"\u7F16\u7801\",\"\u54C1\u540D\",\"\u89C4\u683C\",\"\u6761\u7801\",\"\u6570\u91CF\","
                             u"\"\u5355\u4EF7\",\"\u751F\u4EA7\u65E5\u671F\",\"\u6279\u53F7\",\"\u5355\u4F4D\",\"\u5BA2\u6237\",\"\u5907\u6CE8\"]";
        form.FormShow();
        peak.emplace();
        if (step("import", [&] { form.btnInportClick(); })) {
            step("print-page", [&] { form.btnPrintAllClick(); });
            std::printf("payload %zu bytes\n", platform.bytes);
            step("export", [&] { form.btnOutPutClick(); });
        }
    }
    std::printf("peak %.0f MiB\n", peak->peakMiB());
    std::printf("after %.0f MiB\n", committedBytes() / 1048576.0);
    return 0;
}
