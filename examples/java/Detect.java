// Runs a speech detector on three 32 ms chunks of a 125 Hz buzz. The chunks are alike; the answers
// differ by the detector's state, which each run passes on.
//
// usage: java --enable-native-access=ALL-UNNAMED Detect.java MODEL LIBRARY     (Java 22 or later)
import static java.lang.foreign.ValueLayout.ADDRESS;
import java.lang.foreign.*;
import java.lang.invoke.MethodHandle;
import java.nio.file.Path;
import java.util.stream.IntStream;

public final class Detect {
    static final String TENSOR = "{\"dtype\":\"%s\",\"shape\":%s,\"data\":[%s]}";
    static SymbolLookup library;

    /** A function that takes pointers, and returns one unless it releases its argument. */
    static MethodHandle function(String name, MemoryLayout... pointers) {
        var type = FunctionDescriptor.of(ADDRESS, pointers);
        if (name.startsWith("release_")) type = type.dropReturnLayout();
        var address = library.find("onnxruntime_vn_" + name).orElseThrow();
        return Linker.nativeLinker().downcallHandle(address, type);
    }

    static String copy(Object text) { // C gives no length.
        return ((MemorySegment) text).reinterpret(Long.MAX_VALUE).getString(0);
    }

    /** Returns the handle. The error text is meaningful only after a failure. */
    static Object check(Object handle) throws Throwable {
        if (!handle.equals(MemorySegment.NULL)) return handle;
        throw new Exception(copy(function("last_error").invoke()));
    }

    static void detect(Object session, Arena arena) throws Throwable {
        MethodHandle run = function("run_json", ADDRESS, ADDRESS, ADDRESS),
            json = function("result_json", ADDRESS), release = function("release_result", ADDRESS);
        var samples = IntStream.range(0, 512).mapToObj(i -> "" + (i % 128 - 64) / 128.0).toList();
        var input = TENSOR.formatted("float32", "[1,512]", String.join(",", samples));
        var rate = TENSOR.formatted("int64", "[]", "16000");
        String h = TENSOR.formatted("float32", "[2,1,64]", "0" + ",0".repeat(127)), c = h;
        for (int chunk = 0; chunk < 3; chunk++) {
            var feed = "{\"input\":%s,\"sr\":%s,\"h\":%s,\"c\":%s}".formatted(input, rate, h, c);
            var result = check(run.invoke(session, MemorySegment.NULL, arena.allocateFrom(feed)));
            var text = copy(json.invoke(result));
            release.invoke(result);
            var probability = text.replaceFirst(".*\"output\":[^}]*\\[([^]]*)]}.*", "$1");
            System.out.println("chunk %d: %.3f".formatted(chunk, Float.valueOf(probability)));
            h = text.replaceFirst(".*\"hn\":(\\{[^}]*}).*", "$1");
            c = text.replaceFirst(".*\"cn\":(\\{[^}]*}).*", "$1");
        }
    }

    public static void main(String[] arguments) throws Throwable {
        try (var arena = Arena.ofConfined()) {
            // By full path, so that no other library of this name and no other runtime is found.
            library = SymbolLookup.libraryLookup(Path.of(arguments[1]).toAbsolutePath(), arena);
            MemorySegment model = arena.allocateFrom(arguments[0]), none = MemorySegment.NULL;
            var session = check(function("create_session", ADDRESS, ADDRESS).invoke(model, none));
            detect(session, arena);
            function("release_session", ADDRESS).invoke(session);
        } catch (Exception error) {
            System.err.println("detect: " + error.getMessage());
            System.exit(1);
        }
    }
}
