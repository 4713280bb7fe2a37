/* Built by scripts/check-dist.sh as C and as C++, for both machines, against both kinds of import
 * library, then run beside the DLL: the header must stand alone and keep its declarations C
 * linkage, its numbers must be the Windows ones, and the import must reach the DLL's export. */
#include <stdio.h>

#include "KesDataPrint.h"

typedef char print_message_is_wm_copydata[KESDATAPRINT_MSG_PRINT == WM_COPYDATA ? 1 : -1];
typedef char atom_message_is_wm_copydata[KESDATAPRINT_MSG_ATOM == WM_COPYDATA ? 1 : -1];
typedef char result_codes[KESDATAPRINT_OK == 0 && KESDATAPRINT_ERROR == 1 ? 1 : -1];

int main(void)
{
    const wchar_t *windowClass = KESDATAPRINT_WINDOW_CLASS;
    KesSetDllFormPRecProc imported = SetDllFormPRec;
    FARPROC exported = GetProcAddress(GetModuleHandleW(L"KesDataPrint.dll"), KESDATAPRINT_ENTRY_NAME);
    if (!exported || (void (*)(void))imported != (void (*)(void))exported || windowClass[0] != L'T') {
        printf("the import does not reach the DLL's export\n");
        return 1;
    }
    printf("import resolved\n");
    return 0;
}
