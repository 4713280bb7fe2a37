#pragma once
// What the label form needs from the platform it runs on: the Win32 layer implements it with
// real windows and messages, the tests and kesprint with fakes. Everything the form decides is
// portable; only these calls reach the operating system.
#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace kes {

using HostWindow = uintptr_t;   // a window handle of the host application

constexpr uint16_t WM_COPYDATA_MESSAGE = 74;

class FormPlatform {
public:
    virtual ~FormPlatform() = default;

    // A plain message box with an OK button only.
    virtual void showMessage(const std::u16string& text) = 0;

    // Sends `message` to `target` with word parameter 0 and a COPYDATASTRUCT whose dwData is
    // `dwData` and whose data are the payload bytes (a zero byte follows them in memory but is
    // not counted in cbData). Returns when the target has handled it.
    virtual void sendCopyData(HostWindow target, uint16_t message, uint32_t dwData, const std::string& payload) = 0;
    // Sends `message` to `target` with `wordParam` and long parameter 0.
    virtual void sendPlain(HostWindow target, uint16_t message, uintptr_t wordParam) = 0;

    struct Guid {
        uint32_t data1;
        uint16_t data2;
        uint16_t data3;
        std::array<uint8_t, 8> data4;
    };
    // A freshly made GUID.
    virtual Guid newGuid() = 0;

    // The clipboard's plain text, empty when it holds none.
    virtual std::u16string clipboardText() = 0;

    // The common file dialogs: the chosen file's name, or none when the user cancels. A filter
    // is "description|patterns|description|patterns...", its index counted from 1.
    virtual std::optional<std::u16string> chooseFileToOpen(const std::u16string& filter, int filterIndex) = 0;
    virtual std::optional<std::u16string> chooseFileToSave(const std::u16string& filter, int filterIndex,
                                                           const std::u16string& defaultExtension) = 0;

    // Closes the form window, ending the modal session.
    virtual void closeForm() = 0;
};

}  // namespace kes
