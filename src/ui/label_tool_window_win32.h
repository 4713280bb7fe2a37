#pragma once
// The quick print window: the form's controls as real windows, bound to the portable form's
// handlers, and the platform services the form asks for (message boxes, the host channel,
// GUIDs, the clipboard).
#include <windows.h>

#include <memory>

#include "form/form_platform.h"
#include "form/label_tool_form.h"
#include "ui/grid_control_win32.h"

namespace kes {

class LabelToolWindow : public FormPlatform {
public:
    // Creates the window (hidden) owned by `owner`; the form's FormCreate runs here.
    explicit LabelToolWindow(HWND owner);
    ~LabelToolWindow() override;
    LabelToolWindow(const LabelToolWindow&) = delete;
    LabelToolWindow& operator=(const LabelToolWindow&) = delete;

    TFrmLabelTool& form() { return *form_; }
    HWND hwnd() const { return window_; }

    // Shows the window modally over its owner (FormShow runs first) and returns when it closes.
    void showModal();

    void showMessage(const std::u16string& text) override;
    void sendCopyData(HostWindow target, uint16_t message, uint32_t dwData, const std::string& payload) override;
    void sendPlain(HostWindow target, uint16_t message, uintptr_t wordParam) override;
    Guid newGuid() override;
    std::u16string clipboardText() override;
    std::optional<std::u16string> chooseFileToOpen(const std::u16string& filter, int filterIndex) override;
    std::optional<std::u16string> chooseFileToSave(const std::u16string& filter, int filterIndex,
                                                   const std::u16string& defaultExtension) override;
    void closeForm() override;

private:
    static LRESULT CALLBACK WndProc(HWND, UINT, WPARAM, LPARAM);
    static LRESULT CALLBACK panelProc(HWND, UINT, WPARAM, LPARAM);
    LRESULT handle(UINT message, WPARAM wParam, LPARAM lParam);
    void createControls();
    void layout();
    void command(int id);
    // Runs a command's handler, showing what stopped it; `button` names the command (0: none).
    template <class Handler>
    void run(Handler&& handler, int button = 0);
    void showError(const std::exception& error, int button = 0);

    HWND owner_;
    HWND window_ = nullptr;
    HWND PanelAll = nullptr, Panel4 = nullptr, Panel1 = nullptr;
    HWND Label1 = nullptr;
    HFONT formFont_ = nullptr, panelFont_ = nullptr, labelFont_ = nullptr;
    std::unique_ptr<TFrmLabelTool> form_;
    std::unique_ptr<GridControl> grid_;
    bool closed_ = false;
};

}  // namespace kes
