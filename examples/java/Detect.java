// How much a 125 Hz buzz sounds like speech: three chunks of 32 ms through a speech detector.
//
// usage: java --enable-native-access=ALL-UNNAMED Detect.java MODEL LIBRARY     (Java 22 or later)
//
// Every chunk is the same; the answers differ by the detector's state, which each run hands on.
import static java.lang.foreign.ValueLayout.*;

import java.lang.foreign.*;
import java.lang.invoke.MethodHandle;
import java.nio.file.Path;
import java.util.Locale;
import java.util.stream.*;

public final class Detect {
    static SymbolLookup library;

    /** A function by its result's type, null for none, and its arguments' types. */
    static MethodHandle function(String name, MemoryLayout result, MemoryLayout... arguments) {
        var address = library.find("onnxruntime_vn_" + name).orElseThrow();
        var type = FunctionDescriptor.ofVoid(arguments);
        if (result != null) type = type.changeReturnLayout(result);
        return Linker.nativeLinker().downcallHandle(address, type);
    }

    static String copy(MemorySegment borrowed) {
        return borrowed.reinterpret(Long.MAX_VALUE).getString(0);  // C gives no length.
    }

    /** Hands on a handle. The error text means something after a failure only. */
    static MemorySegment check(MemorySegment handle) throws Throwable {
        if (handle.address() != 0) return handle;
        var text = copy((MemorySegment) function("last_error", ADDRESS).invokeExact());
        throw new Exception(text.isEmpty() ? "refused without a reason" : text);
    }

    static String tensor(String dtype, String shape, Stream<?> numbers) {
        var data = numbers.map(Object::toString).collect(Collectors.joining(","));
        return "{\"dtype\":\"%s\",\"shape\":%s,\"data\":[%s]}".formatted(dtype, shape, data);
    }

    static void detect(MemorySegment session, Arena arena) throws Throwable {
        var run = function("run_json", ADDRESS, ADDRESS, ADDRESS, ADDRESS);
        var floatAt = function("result_float_at", JAVA_FLOAT, ADDRESS, JAVA_INT);
        var resultJson = function("result_json", ADDRESS, ADDRESS);
        var release = function("release_result", null, ADDRESS);
        var sawtooth = IntStream.range(0, 512).mapToObj(i -> (i % 128 - 64) / 128.0);
        var input = tensor("float32", "[1,512]", sawtooth);
        var rate = tensor("int64", "[]", Stream.of(16000));
        String h = tensor("float32", "[2,1,64]", Stream.generate(() -> 0).limit(128)), c = h;
        var names = arena.allocateFrom("[\"output\",\"hn\",\"cn\"]");
        for (int chunk = 0; chunk < 3; chunk++) {
            var feed = "{\"input\":%s,\"sr\":%s,\"h\":%s,\"c\":%s}".formatted(input, rate, h, c);
            var result = check(
                (MemorySegment) run.invokeExact(session, names, arena.allocateFrom(feed)));
            try {
                // The first float32 output is the one named first.
                float probability = (float) floatAt.invokeExact(result, 0);
                System.out.printf(Locale.ROOT, "chunk %d: %.3f%n", chunk, probability);
                var json = copy((MemorySegment) resultJson.invokeExact(result));
                h = json.replaceFirst(".*\"hn\":(\\{[^}]*}).*", "$1");
                c = json.replaceFirst(".*\"cn\":(\\{[^}]*}).*", "$1");
            } finally {
                release.invokeExact(result);
            }
        }
    }

    public static void main(String[] arguments) throws Throwable {
        try (var arena = Arena.ofConfined()) {
            if (arguments.length != 2) throw new Exception("usage: Detect.java MODEL LIBRARY");
            // By full path, so that no other library of this name, and no other runtime, is found.
            library = SymbolLookup.libraryLookup(Path.of(arguments[1]).toAbsolutePath(), arena);
            var create = function("create_session", ADDRESS, ADDRESS, ADDRESS);
            var release = function("release_session", null, ADDRESS);
            var model = arena.allocateFrom(arguments[0]);
            var session = check((MemorySegment) create.invokeExact(model, MemorySegment.NULL));
            try {
                detect(session, arena);
            } finally {
                release.invokeExact(session);
            }
        } catch (Exception error) {
            System.err.println("detect: " + error.getMessage());
            System.exit(1);
        }
    }
}
