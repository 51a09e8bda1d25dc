<?php
// Times whole calls from PHP, as host.py explains: php host.php LIBRARY MODEL DTYPE COUNT
[, $path, $model, $dtype, $count] = $argv;
$library = FFI::cdef(file_get_contents(dirname($path) . '/onnxruntime_vornic.cdef'), realpath($path));
$session = $library->onnxruntime_vn_create_session($model, null);
$numbers = array_map(fn($i) => $dtype === 'float32' ? sin($i) : $i * 7919 % 30522, range(1, $count));
if ($dtype === 'float32') {
    $numbers = array_values(unpack('f*', pack('f*', ...$numbers)));
}

$take = function ($result) use ($library, $count) {
    $data = FFI::cast('char *', $library->onnxruntime_vn_result_float_data($result));
    $answer = array_values(unpack('f*', FFI::string($data, 4 * $count)));
    $library->onnxruntime_vn_release_result($result);
    return $answer;
};
$json = function ($precision) use ($library, $session, $numbers, $dtype, $count, $take) {
    ini_set('serialize_precision', $precision);
    $feed = json_encode(['x0' => ['dtype' => $dtype, 'shape' => [(int) $count], 'data' => $numbers]]);
    return $take($library->onnxruntime_vn_run_json($session, null, $feed));
};
$tensor = function () use ($library, $session, $numbers, $count, $take) {
    [$floats, $dims] = [$library->new("float[$count]"), $library->new('int64_t[1]')];
    FFI::memcpy($floats, pack('f*', ...$numbers), 4 * $count);
    $dims[0] = (int) $count;
    $tensor = $library->onnxruntime_vn_tensor_from_f32($floats, $count, $dims, 1);
    $answer = $take($library->onnxruntime_vn_run_tensor_fast($session, 'x0', $tensor, null));
    $library->onnxruntime_vn_release_tensor($tensor);
    return $answer;
};
$ways = ['json_encode' => fn() => $json(-1)];
if ($dtype === 'float32') {
    $ways += ['json_encode, 9 digits' => fn() => $json(9), 'tensor' => $tensor];
}
foreach ($ways as $way => $run) {
    $minimum = INF;
    for ($i = 0; $i < 20; ++$i) {
        $begin = hrtime(true);
        $answer = $run();
        $minimum = min($minimum, hrtime(true) - $begin);
    }
    $expected = array_map(fn($number) => $dtype === 'float32' ? 2 * $number : (float) $number, $numbers);
    $answer === $expected || exit("$way: wrong\n");
    printf("PHP %s\t%s\t%.1f\n", PHP_VERSION, $way, $minimum / 1000);
}
