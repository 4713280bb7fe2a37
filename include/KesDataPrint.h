/*
 * KesDataPrint.h - what a host application calls in KesDataPrint.dll and what it receives.
 *
 * The host calls SetDllFormPRec on its user-interface thread. The call opens the modal quick
 * print window over the host window and returns when the user closes it. While it runs, every
 * print the user asks for arrives at the host window as a WM_COPYDATA message:
 *
 *   wParam           0
 *   lParam           a COPYDATASTRUCT*
 *   dwData           KESDATAPRINT_FLAG_PREVIEW (the library always sends 1)
 *   lpData, cbData   the rows as UTF-8 JSON text, cbData bytes, no terminating zero counted,
 *                    valid only until the window procedure returns: copy it there.
 *
 * The text is an array of flat objects, one per row, keyed by the field names, every value a
 * string: [{"Name":"Bolt M6","Qty":"200"},{"Name":"Washer","Qty":"1000"}]
 * Cell texts are inserted as they stand: a quote, backslash or line break typed into a cell
 * reaches the host unescaped.
 *
 * Compiles as C and as C++; plain ASCII, so that any code page reads it.
 */
#ifndef KESDATAPRINT_H
#define KESDATAPRINT_H

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Built into the library itself, this marks the definition; hosts import the entry. */
#ifdef KESDATAPRINT_BUILDING
#define KESDATAPRINT_API
#else
#define KESDATAPRINT_API __declspec(dllimport)
#endif

/* The results of SetDllFormPRec. */
#define KESDATAPRINT_OK    0 /* the user closed the window */
#define KESDATAPRINT_ERROR 1 /* the session ended by an error, or hostWindow was NULL */

/* The message that carries the rows to the host window: WM_COPYDATA. */
#define KESDATAPRINT_MSG_PRINT 0x004A

/* dwData of the print message: the rows are meant for a print preview. */
#define KESDATAPRINT_FLAG_PREVIEW 1

/*
 * The message a host may send to the library's window (class KESDATAPRINT_WINDOW_CLASS) with a
 * global atom in the low 16 bits of lParam: the window reads the atom's text (255 UTF-16 units
 * at most), keeps it and deletes the atom. It has the number of WM_COPYDATA but carries no
 * COPYDATASTRUCT.
 */
#define KESDATAPRINT_MSG_ATOM 0x004A

/* The window class of the library's window, for FindWindowW. */
#define KESDATAPRINT_WINDOW_CLASS L"TFrmLabelTool"

/* The entry's exported name, for GetProcAddress. */
#define KESDATAPRINT_ENTRY_NAME "SetDllFormPRec"

/*
 * Opens the quick print window and returns when the user has closed it.
 *   hostWindow  address of the host's window handle: the owner of the window and the target of
 *               the print messages. NULL ends the call at once with KESDATAPRINT_ERROR.
 *   path, name  texts of the host in the system's ANSI code page, kept and not used; may be NULL.
 *   fields      the label field names as JSON-array text in the system's ANSI code page, names
 *               in double quotes, separated by commas: ["Name","Size","Qty"]. Row 1 of the grid
 *               shows them. "[]" opens the window but nothing is ever sent.
 * Not re-entrant: call it again only after it has returned.
 */
typedef int(__cdecl *KesSetDllFormPRecProc)(HWND *hostWindow, const char *path, const char *name,
                                            const char *fields);

KESDATAPRINT_API int __cdecl SetDllFormPRec(HWND *hostWindow, const char *path, const char *name,
                                            const char *fields);

#ifdef __cplusplus
}
#endif

#endif /* KESDATAPRINT_H */
