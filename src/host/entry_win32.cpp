// The library's one entry: the host hands over its window and three texts, the quick print
// window runs modally over the host, and the call returns when the user has closed it.
#include <windows.h>

#include <string>

#include "host/host_arguments_win32.h"
#include "ui/label_tool_window_win32.h"
#include "ui/window_support_win32.h"

namespace {

// The open form, for the length of one call; empty outside a call.
kes::LabelToolWindow* FrmLabelTool = nullptr;

// The library's manifest asks for the version 6 common controls; a DLL gets them only while its
// own activation context is active, which this scope does for the length of the call.
class CommonControlsScope {
public:
    CommonControlsScope() {
        ACTCTXW request{sizeof request};
        request.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
        request.hModule = kes::moduleInstance();
        request.lpResourceName = MAKEINTRESOURCEW(2);
        context_ = CreateActCtxW(&request);
        if (context_ != INVALID_HANDLE_VALUE && !ActivateActCtx(context_, &cookie_)) cookie_ = 0;
    }
    ~CommonControlsScope() {
        if (cookie_) DeactivateActCtx(0, cookie_);
        if (context_ != INVALID_HANDLE_VALUE) ReleaseActCtx(context_);
    }
    CommonControlsScope(const CommonControlsScope&) = delete;
    CommonControlsScope& operator=(const CommonControlsScope&) = delete;

private:
    HANDLE context_ = INVALID_HANDLE_VALUE;
    ULONG_PTR cookie_ = 0;
};

}  // namespace

extern "C" int SetDllFormPRec(HWND* handle, const char* path, const char* name, const char* dataSource) {
    int result = 0;
    const CommonControlsScope commonControls;
    try {
        FrmLabelTool = new kes::LabelToolWindow(kes::hostWindowHandle(handle));
        FrmLabelTool->form().MyHandle = reinterpret_cast<kes::HostWindow>(kes::hostWindowHandle(handle));
        FrmLabelTool->form().MyPath = kes::hostText(path);
        FrmLabelTool->form().MyFName = kes::hostText(name);
        FrmLabelTool->form().MyFDataSource = kes::hostText(dataSource);
        FrmLabelTool->showModal();
        result = 0;
    } catch (...) {
        result = 1;
    }
    kes::LabelToolWindow* form = FrmLabelTool;
    FrmLabelTool = nullptr;
    delete form;
    return result;
}
