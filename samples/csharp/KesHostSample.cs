// The smallest C# host of KesDataPrint.dll: a form that opens the quick print window from a
// button and lists every print it receives.
//
// Build as a 32-bit program to load the i686 DLL of x86/ (a 64-bit one loads x64/):
//   csc /target:winexe /platform:x86 KesHostSample.cs
//   mcs -target:winexe -platform:x86 -r:System.Windows.Forms.dll -r:System.Drawing.dll KesHostSample.cs
using System;
using System.Runtime.InteropServices;
using System.Text;
using System.Windows.Forms;

static class KesDataPrint
{
    public const int Ok = 0;                 // KESDATAPRINT_OK
    public const int Error = 1;              // KESDATAPRINT_ERROR
    public const int MsgPrint = 0x004A;      // KESDATAPRINT_MSG_PRINT, WM_COPYDATA
    public const int FlagPreview = 1;        // KESDATAPRINT_FLAG_PREVIEW
    public const int MsgAtom = 0x004A;       // KESDATAPRINT_MSG_ATOM
    public const string WindowClass = "TFrmLabelTool";   // KESDATAPRINT_WINDOW_CLASS

    // cdecl, texts in the system's ANSI code page; the first argument is the address of the
    // host's window handle, hence ref.
    [DllImport("KesDataPrint.dll", EntryPoint = "SetDllFormPRec", CallingConvention = CallingConvention.Cdecl,
               CharSet = CharSet.Ansi, BestFitMapping = false)]
    public static extern int SetDllFormPRec(ref IntPtr hostWindow, string path, string name, string fields);
}

[StructLayout(LayoutKind.Sequential)]
struct CopyDataStruct
{
    public IntPtr dwData;
    public int cbData;
    public IntPtr lpData;
}

class HostForm : Form
{
    readonly TextBox fields = new TextBox { Dock = DockStyle.Top, Text = "[\"\u54C1\u540D\",\"\u89C4\u683C\",\"\u6570\u91CF\",\"\u6761\u7801\"]" };   // 品名 规格 数量 条码
    readonly Button open = new Button { Dock = DockStyle.Top, Text = "\u5FEB\u901F\u6253\u5370..." };   // 快速打印
    readonly ListBox log = new ListBox { Dock = DockStyle.Fill };

    HostForm()
    {
        Text = "KesDataPrint C# sample";
        Width = 720;
        Height = 360;
        Controls.Add(log);
        Controls.Add(open);
        Controls.Add(fields);
        open.Click += delegate { OpenQuickPrint(); };
    }

    // Runs on the UI thread and returns when the user closes the quick print window; the prints
    // arrive in WndProc meanwhile.
    void OpenQuickPrint()
    {
        IntPtr handle = Handle;
        int result = KesDataPrint.SetDllFormPRec(ref handle, "", "", fields.Text);
        log.Items.Add("SetDllFormPRec returned " + result);
    }

    protected override void WndProc(ref Message m)
    {
        if (m.Msg == KesDataPrint.MsgPrint)
        {
            var data = (CopyDataStruct)Marshal.PtrToStructure(m.LParam, typeof(CopyDataStruct));
            // Copy the bytes now: the buffer is gone once WndProc returns. No terminating zero.
            var bytes = new byte[data.cbData];
            Marshal.Copy(data.lpData, bytes, 0, data.cbData);
            string json = Encoding.UTF8.GetString(bytes);
            bool preview = data.dwData.ToInt64() == KesDataPrint.FlagPreview;
            log.Items.Add((preview ? "preview " : "print ") + data.cbData + " bytes: " + json);
            m.Result = (IntPtr)1;
            return;
        }
        base.WndProc(ref m);
    }

    [STAThread]
    static void Main()
    {
        Application.EnableVisualStyles();
        Application.Run(new HostForm());
    }
}
