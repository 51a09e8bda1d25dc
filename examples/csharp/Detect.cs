// Runs a speech detector on three 32 ms chunks of a 125 Hz buzz. The chunks are alike; the answers
// differ by the detector's state, which each run passes on.
//
// usage: mono detect.exe MODEL LIBRARY     (Linux; built by mcs -out:detect.exe Detect.cs)
using System;
using System.Globalization;
using System.Linq;
using System.Runtime.InteropServices;
using System.Text;
using System.Text.RegularExpressions;

static class Detect {
    // The SONAME, by which the loader finds a library that has been loaded from any path.
    const string Library = "libonnxruntime_vornic.so.1";
    [DllImport("libdl.so.2")] static extern IntPtr dlopen(byte[] path, int flags);
    [DllImport("libdl.so.2")] static extern IntPtr dlerror();
    [DllImport(Library)] static extern IntPtr onnxruntime_vn_last_error();
    [DllImport(Library)] static extern IntPtr onnxruntime_vn_create_session(byte[] path, byte[] _);
    [DllImport(Library)] static extern void onnxruntime_vn_release_session(IntPtr session);
    [DllImport(Library)]
    static extern IntPtr onnxruntime_vn_run_json(IntPtr session, byte[] outputs, byte[] feed);
    [DllImport(Library)] static extern IntPtr onnxruntime_vn_result_json(IntPtr result);
    [DllImport(Library)] static extern float onnxruntime_vn_result_float_at(IntPtr result, int at);
    [DllImport(Library)] static extern void onnxruntime_vn_release_result(IntPtr result);

    // Null-terminated UTF-8, which Marshal's "Ansi" is on Linux.
    static byte[] Text(string text) => Encoding.UTF8.GetBytes(text + "\0");
    static string Copy(IntPtr borrowed) => Marshal.PtrToStringAnsi(borrowed);
    // Returns the handle. The error text is meaningful only after a failure.
    static IntPtr Check(IntPtr handle) =>
        handle != IntPtr.Zero ? handle : throw new Exception(Copy(onnxruntime_vn_last_error()));
    static string Tensor(string shape, double[] data) =>
        $"{{\"dtype\":\"float32\",\"shape\":{shape},\"data\":[{string.Join(",", data)}]}}";

    // Not part of Main: Mono looks a function up when it compiles the method that calls it.
    static void Run(string model) {
        var sawtooth = Enumerable.Range(0, 512).Select(i => (i % 128 - 64) / 128.0);
        string input = Tensor("[1,512]", sawtooth.ToArray());
        string rate = "{\"dtype\":\"int64\",\"shape\":[],\"data\":[16000]}";
        string h = Tensor("[2,1,64]", new double[128]), c = h;
        var session = Check(onnxruntime_vn_create_session(Text(model), null));
        for (int chunk = 0; chunk < 3; chunk++) {
            var feed = Text($"{{\"input\":{input},\"sr\":{rate},\"h\":{h},\"c\":{c}}}");
            var result = Check(onnxruntime_vn_run_json(session, null, feed)); // null: all outputs
            Console.WriteLine($"chunk {chunk}: {onnxruntime_vn_result_float_at(result, 0):F3}");
            var json = Copy(onnxruntime_vn_result_json(result));
            onnxruntime_vn_release_result(result);
            h = Regex.Match(json, "\"hn\":({[^}]*})").Groups[1].Value;
            c = Regex.Match(json, "\"cn\":({[^}]*})").Groups[1].Value;
        }
        onnxruntime_vn_release_session(session);
    }

    static int Main(string[] arguments) {
        CultureInfo.CurrentCulture = CultureInfo.InvariantCulture; // JSON has a decimal point.
        try {
            dlerror(); // Bound now: binding it after a failure would lose the reason.
            // By full path, so that no other library of this name and no other runtime is found.
            var path = Text(System.IO.Path.GetFullPath(arguments[1]));
            if (dlopen(path, 2 /* RTLD_NOW */) == IntPtr.Zero) throw new Exception(Copy(dlerror()));
            Run(arguments[0]);
            return 0;
        } catch (Exception error) { Console.Error.WriteLine("detect: " + error.Message); return 1; }
    }
}
