// The library's one entry: the host hands over its window and three texts, the quick print
// window runs modally over the host, and the call returns when the user has closed it.
#include <windows.h>

#include <string>

#include "KesDataPrint.h"
#include "ui/label_tool_window_win32.h"
#include "ui/window_support_win32.h"

namespace {

// The open form, for the length of one call; empty outside a call.
kes::LabelToolWindow* FrmLabelTool = nullptr;

std::u16string fromAnsi(const char* text) {
    if (!text || !*text) return {};
    const int length = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
    std::wstring wide(static_cast<size_t>(length > 0 ? length : 1), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), length);
    wide.resize(wcslen(wide.c_str()));
    return std::u16string(reinterpret_cast<const char16_t*>(wide.c_str()), wide.size());
}

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

class EHostArgument : public std::exception {
public:
    const char* what() const noexcept override { return "the host window handle cannot be read"; }
};

}  // namespace

// Defined against the hosts' header, so that the compiler holds the two to one signature.
int __cdecl SetDllFormPRec(HWND* handle, const char* path, const char* name, const char* dataSource) {
    int result = 0;
    const CommonControlsScope commonControls;
    try {
        if (!handle || IsBadReadPtr(handle, sizeof(HWND))) throw EHostArgument();
        FrmLabelTool = new kes::LabelToolWindow(*handle);
        FrmLabelTool->form().MyHandle = reinterpret_cast<kes::HostWindow>(*handle);
        FrmLabelTool->form().MyPath = fromAnsi(path);
        FrmLabelTool->form().MyFName = fromAnsi(name);
        FrmLabelTool->form().MyFDataSource = fromAnsi(dataSource);
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
