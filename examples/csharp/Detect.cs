// How much a 125 Hz buzz sounds like speech: three chunks of 32 ms through a speech detector.
//
// usage: mono detect.exe MODEL LIBRARY     (Linux; built by mcs -out:detect.exe Detect.cs)
//
// Every chunk is the same; the answers differ by the detector's state, which each run hands on.
using System;
using System.Linq;
using System.Runtime.InteropServices;
using System.Text;
using System.Text.RegularExpressions;

static class Detect {
    // The library's SONAME, by which the loader finds what has been loaded from any path.
    const string Library = "libonnxruntime_vornic.so.1", Loader = "libdl.so.2";
    [DllImport(Loader)] static extern IntPtr dlopen(byte[] path, int flags);
    [DllImport(Loader)] static extern IntPtr dlerror();
    [DllImport(Library)] static extern IntPtr onnxruntime_vn_last_error();
    [DllImport(Library)] static extern IntPtr onnxruntime_vn_create_session(byte[] model, IntPtr options);
    [DllImport(Library)] static extern void onnxruntime_vn_release_session(IntPtr session);
    [DllImport(Library)] static extern IntPtr onnxruntime_vn_run_json(IntPtr session, byte[] names, byte[] feed);
    [DllImport(Library)] static extern IntPtr onnxruntime_vn_result_json(IntPtr result);
    [DllImport(Library)] static extern float onnxruntime_vn_result_float_at(IntPtr result, int index);
    [DllImport(Library)] static extern void onnxruntime_vn_release_result(IntPtr result);

    // Zero-ended UTF-8, which Marshal's "Ansi" is on Linux.
    static byte[] Text(string text) => Encoding.UTF8.GetBytes(text + "\0");
    static string Copy(IntPtr borrowed) => Marshal.PtrToStringAnsi(borrowed);

    // Hands on a handle. The error text means something after a failure only.
    static IntPtr Check(IntPtr handle) =>
        handle != IntPtr.Zero ? handle : throw new Exception(Copy(onnxruntime_vn_last_error()));

    static string Tensor(string shape, double[] numbers) {
        var data = numbers.Select(number => FormattableString.Invariant($"{number:R}"));
        return $"{{\"dtype\":\"float32\",\"shape\":{shape},\"data\":[{string.Join(",", data)}]}}";
    }

    static void Run(IntPtr session) {
        var sawtooth = Enumerable.Range(0, 512).Select(i => (i % 128 - 64) / 128.0);
        var samples = Tensor("[1,512]", sawtooth.ToArray());
        string h = Tensor("[2,1,64]", new double[128]), c = h;
        const string rate = "{\"dtype\":\"int64\",\"shape\":[],\"data\":[16000]}";
        for (int chunk = 0; chunk < 3; chunk++) {
            var feed = Text($"{{\"input\":{samples},\"sr\":{rate},\"h\":{h},\"c\":{c}}}");
            var names = Text("[\"output\",\"hn\",\"cn\"]");
            var result = Check(onnxruntime_vn_run_json(session, names, feed));
            // The first float32 output is the one named first.
            var speech = onnxruntime_vn_result_float_at(result, 0);
            Console.WriteLine(FormattableString.Invariant($"chunk {chunk}: {speech:F3}"));
            var json = Copy(onnxruntime_vn_result_json(result));
            onnxruntime_vn_release_result(result);
            h = Regex.Match(json, "\"hn\":({[^}]*})").Groups[1].Value;
            c = Regex.Match(json, "\"cn\":({[^}]*})").Groups[1].Value;
        }
    }

    // Not in Main: Mono looks a function up when it compiles the method that calls it.
    static void Open(string model) {
        var session = Check(onnxruntime_vn_create_session(Text(model), IntPtr.Zero));
        try { Run(session); } finally { onnxruntime_vn_release_session(session); }
    }

    static int Main(string[] arguments) {
        try {
            if (arguments.Length != 2) throw new Exception("usage: detect.exe MODEL LIBRARY");
            dlerror(); // Bound now: binding it after a failure would lose the reason.
            // By full path, so that no other library of this name, and no other runtime, is found.
            var path = Text(System.IO.Path.GetFullPath(arguments[1]));
            if (dlopen(path, 2 /* RTLD_NOW */) == IntPtr.Zero) throw new Exception(Copy(dlerror()));
            Open(arguments[0]);
            return 0;
        } catch (Exception error) { Console.Error.WriteLine("detect: " + error.Message); }
        return 1;
    }
}
