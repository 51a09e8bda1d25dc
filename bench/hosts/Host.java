// Times whole calls from Java 22 or later, as host.py explains:
//   java --enable-native-access=ALL-UNNAMED Host.java LIBRARY MODEL DTYPE COUNT
import static java.lang.foreign.ValueLayout.*;

import java.lang.foreign.*;
import java.lang.invoke.MethodHandle;
import java.util.Arrays;
import java.util.Locale;
import java.util.stream.LongStream;

public final class Host {
    interface Way {
        float[] run(Arena arena) throws Throwable;
    }

    static MethodHandle function(String name, MemoryLayout result, MemoryLayout... arguments) {
        var address = SymbolLookup.loaderLookup().find("onnxruntime_vn_" + name).orElseThrow();
        var type = FunctionDescriptor.ofVoid(arguments);
        return Linker.nativeLinker().downcallHandle(
            address, result == null ? type : type.changeReturnLayout(result));
    }

    static float[] take(Object result, int count) throws Throwable {
        var data = (MemorySegment) FLOAT_DATA.invoke(result);
        var floats = data.reinterpret(4L * count).toArray(JAVA_FLOAT);
        RELEASE_RESULT.invoke(result);
        return floats;
    }

    static void measure(String way, float[] expected, Way call) throws Throwable {
        var answer = new float[0];
        long minimum = Long.MAX_VALUE;
        for (int i = 0; i < 200; i++) {
            long begin = System.nanoTime();
            try (var arena = Arena.ofConfined()) {
                answer = call.run(arena);
            }
            minimum = Math.min(minimum, System.nanoTime() - begin);
        }
        if (!Arrays.equals(answer, expected)) throw new Exception(way + ": wrong");
        var version = System.getProperty("java.version");
        System.out.printf(Locale.ROOT, "Java %s\t%s\t%.1f%n", version, way, minimum / 1e3);
    }

    static MethodHandle FLOAT_DATA, RELEASE_RESULT;

    public static void main(String[] arguments) throws Throwable {
        System.load(arguments[0]);
        FLOAT_DATA = function("result_float_data", ADDRESS, ADDRESS);
        RELEASE_RESULT = function("release_result", null, ADDRESS);
        var runJson = function("run_json", ADDRESS, ADDRESS, ADDRESS, ADDRESS);
        var fromFloats = function("tensor_from_f32", ADDRESS, ADDRESS, JAVA_INT, ADDRESS, JAVA_INT);
        var runTensor = function("run_tensor_fast", ADDRESS, ADDRESS, ADDRESS, ADDRESS, ADDRESS);
        var releaseTensor = function("release_tensor", null, ADDRESS);
        var none = MemorySegment.NULL;
        var session = function("create_session", ADDRESS, ADDRESS, ADDRESS)
            .invoke(Arena.global().allocateFrom(arguments[1]), none);
        var dtype = arguments[2];
        var isFloat = dtype.equals("float32");
        var count = Integer.parseInt(arguments[3]);
        var ids = LongStream.range(0, count).map(i -> i * 7919 % 30522).toArray();
        var numbers = new float[count];
        var expected = new float[count];
        for (int i = 0; i < count; i++) {
            numbers[i] = (float) Math.sin(i);
            expected[i] = isFloat ? 2 * numbers[i] : ids[i];
        }
        measure("Arrays.toString", expected, arena -> {
            var data = isFloat ? Arrays.toString(numbers) : Arrays.toString(ids);
            var feed = "{\"x0\":{\"dtype\":\"" + dtype + "\",\"shape\":[" + count + "],\"data\":" + data + "}}";
            return take(runJson.invoke(session, none, arena.allocateFrom(feed)), count);
        });
        if (isFloat) measure("tensor", expected, arena -> {
            var floats = arena.allocateFrom(JAVA_FLOAT, numbers);
            var tensor = fromFloats.invoke(floats, count, arena.allocateFrom(JAVA_LONG, count), 1);
            var result = runTensor.invoke(session, arena.allocateFrom("x0"), tensor, none);
            var answer = take(result, count);
            releaseTensor.invoke(tensor);
            return answer;
        });
    }
}
