#pragma once
// The channel between the quick print window and its host: the messages the window sends to the
// host's window, and the host's own messages to the window (a text handed over in a global atom,
// and minimising, which minimises the host with it).
#include <windows.h>

#include <cstdint>
#include <string>

#include "form/form_platform.h"
#include "form/label_tool_form.h"

namespace kes {

// Sends `message` with a COPYDATASTRUCT over the payload bytes and returns when it is handled.
void sendCopyDataToHost(HostWindow target, uint16_t message, uint32_t dwData, const std::string& payload);
// Sends `message` with `wordParam` and long parameter 0 and returns when it is handled.
void sendPlainToHost(HostWindow target, uint16_t message, uintptr_t wordParam);

// Handles what the host sends to the form's `window`, owned by `owner`. True when the message
// is fully handled (its result is 0); false when the default handling must follow.
bool handleHostMessage(TFrmLabelTool& form, HWND window, HWND owner, UINT message, WPARAM wParam, LPARAM lParam);

}  // namespace kes
