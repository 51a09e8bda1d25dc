<?php
// Runs a speech detector on three 32 ms chunks of a 125 Hz buzz. The chunks are alike; the answers
// differ because of the detector's state, which each run passes on.
//
// usage: php detect.php MODEL LIBRARY          (on the command line FFI is enabled by default)
declare(strict_types=1);

function load(string $path): FFI
{
    // By full path, so that no other library of this name and no other runtime is found.
    $file = realpath($path);
    if ($file === false) {
        throw new RuntimeException("$path does not exist");
    }
    // A const char* that is returned is copied into a PHP string.
    return FFI::cdef(file_get_contents(dirname($file) . '/onnxruntime_vornic.cdef'), $file);
}

/** Returns a handle. The error text is meaningful only after a failure. */
function check(FFI $library, ?FFI\CData $handle): FFI\CData
{
    return $handle ?? throw new RuntimeException($library->onnxruntime_vn_last_error());
}

function detect(FFI $library, string $model): void
{
    $sawtooth = array_map(fn (int $i) => ($i % 128 - 64) / 128, range(0, 511));
    $zeros = ['dtype' => 'float32', 'shape' => [2, 1, 64], 'data' => array_fill(0, 128, 0)];
    $feed = [
        'input' => ['dtype' => 'float32', 'shape' => [1, 512], 'data' => $sawtooth],
        'sr' => ['dtype' => 'int64', 'shape' => [], 'data' => [16000]],
        'h' => $zeros, 'c' => $zeros,
    ];
    $session = check($library, $library->onnxruntime_vn_create_session($model, null));
    try {
        for ($chunk = 0; $chunk < 3; $chunk++) {
            $json = json_encode($feed, JSON_THROW_ON_ERROR);
            $result = check($library, $library->onnxruntime_vn_run_json($session, null, $json));
            $json = $library->onnxruntime_vn_result_json($result);
            $library->onnxruntime_vn_release_result($result);
            $outputs = json_decode($json, true, 512, JSON_THROW_ON_ERROR)['outputs'];
            printf("chunk %d: %.3F\n", $chunk, $outputs['output']['data'][0]);
            [$feed['h'], $feed['c']] = [$outputs['hn'], $outputs['cn']];
        }
    } finally {
        $library->onnxruntime_vn_release_session($session);
    }
}

try {
    if ($argc !== 3) {
        throw new RuntimeException('usage: php detect.php MODEL LIBRARY');
    }
    detect(load($argv[2]), $argv[1]);
} catch (Exception | FFI\Exception $error) {
    fwrite(STDERR, "detect: {$error->getMessage()}\n");
    exit(1);
}
