"""Makes the texts that number_texts reads: arrays of numbers as hosts write them.

    make_texts.py FOLDER

Writes each text to a file, and a line for it to FOLDER/index: file, element type, title. The same
versions of the writers give the same texts.
"""
import array
import itertools
import json
import math
import pathlib
import random
import struct
import subprocess
import sys

import numpy

COUNT = 8192  # texts of at most 180 kB, which stay in the L2 cache
FOLDER = pathlib.Path(sys.argv[1])
MEAN, DEVIATION = (0.485, 0.456, 0.406), (0.229, 0.224, 0.225)  # of an image's channels


def command(*words):
    """A writer in another language: a program that writes doubles as a JSON array."""
    return lambda numbers: subprocess.run(
        words, input=array.array("d", numbers).tobytes(), capture_output=True, check=True
    ).stdout.decode()


def printf(form, separator=","):
    items = f"join('{separator}', map sprintf('{form}', $_), unpack 'd<*', <STDIN>)"
    return command("perl", "-e", f"$/ = undef; print '[', {items}, ']'")


DOUBLES = "Array.from(new Float64Array(new Uint8Array(require('fs').readFileSync(0)).buffer))"
node = command("node", "-e", f"process.stdout.write(JSON.stringify({DOUBLES}))")
ruby = command("ruby", "-rjson", "-e", "print JSON.generate(STDIN.binmode.read.unpack('E*'))")
VALUES = "array_values(unpack('e*', stream_get_contents(STDIN)))"
php = command("php", "-r", f"echo json_encode({VALUES});")
perl = command("perl", "-MJSON::PP", "-e", "$/ = undef; print encode_json([unpack 'd<*', <STDIN>])")


def shortest(numbers):
    """As C#, Go, Java and Rust write float32: the fewest digits that identify it."""
    return "[" + ",".join(map(str, numpy.array(numbers, numpy.float32))) + "]"


def float32(numbers):
    return array.array("f", numbers).tolist()


def texts(rng):
    """(title, element type, writer, at least COUNT numbers)"""

    def many(make):
        return [make(i) for i in range(COUNT)]

    def pixel(_):
        return min(255, max(0, int(rng.gauss(120, 60))))

    def sample(i):
        return max(-32768, min(32767, int(8000 * math.sin(i * 0.05) + rng.gauss(0, 900))))

    def softmax(logits):
        powers = [math.exp(x) for x in logits]
        return [x / sum(powers) for x in powers]

    def box(_):
        x, y = rng.uniform(0, 600), rng.uniform(0, 600)
        width, height = rng.uniform(5, 40), rng.uniform(5, 40)
        return [x, y, x + width, y + height, rng.random(), rng.randrange(80)]

    def rounded_box(i):
        return round(rng.random() * 640, 2) if i % 5 < 4 else round(rng.random(), 3)

    def row(_):
        """Age, income, a flag, a small difference, zero, a share."""
        first = [rng.randrange(18, 90), round(rng.random() * 1e5, 2), float(rng.randrange(2))]
        return [*first, rng.gauss(0, 1e-3), 0, round(rng.random(), 3)]

    def any_exponent(_):
        bits = rng.randrange(1, 254) << 23 | rng.getrandbits(23) | rng.getrandbits(1) << 31
        return struct.unpack("f", struct.pack("I", bits))[0]

    gauss = many(lambda _: rng.gauss(0, 1))
    floats = float32(gauss)
    audio = many(sample)
    classes = [softmax([rng.gauss(0, 4) for _ in range(1024)]) for _ in range(COUNT // 1024)]
    yield "gaussian, Python", "float32", json.dumps, floats
    yield "gaussian, Node.js", "float32", node, floats
    yield "gaussian, Ruby", "float32", ruby, floats
    yield "gaussian, PHP", "float32", php, floats
    yield "gaussian, Perl (15 digits)", "float32", perl, floats
    yield "gaussian float64, Python", "float64", json.dumps, gauss
    yield "0 to 1, Python", "float32", json.dumps, float32(many(lambda _: rng.random()))
    yield "image over 255", "float32", json.dumps, float32(many(lambda i: pixel(i) / 255))
    yield "image, normalized", "float32", json.dumps, float32(
        many(lambda i: (pixel(i) / 255 - MEAN[i % 3]) / DEVIATION[i % 3])
    )
    yield "audio", "float32", json.dumps, [x / 32768 for x in audio]
    yield "relu", "float32", json.dumps, float32(many(lambda _: max(0.0, rng.gauss(-0.5, 1))))
    yield "softmax", "float32", json.dumps, float32(itertools.chain(*classes))
    yield "probabilities", "float32", json.dumps, float32(
        many(lambda _: math.exp(-abs(rng.gauss(0, 6))))
    )
    yield "detector's rows", "float32", json.dumps, float32(itertools.chain(*many(box)))
    yield "detections, rounded", "float32", json.dumps, many(rounded_box)
    yield "features", "float32", json.dumps, itertools.chain(*many(row))
    yield "mixed", "float32", json.dumps, [
        (x, rng.randrange(100), round(10 * x, 2))[i % 3] for i, x in enumerate(floats)
    ]
    yield "4 decimals", "float32", json.dumps, [round(x, 4) for x in gauss]
    yield "6 decimals, printf", "float32", printf("%.6f"), gauss
    yield "9 digits, printf", "float32", printf("%.9g"), floats
    yield "9 digits and blanks, printf", "float32", printf("%.9g", ", "), floats
    yield "9 digits, any exponent", "float32", printf("%.9g"), many(any_exponent)
    yield "shortest float32", "float32", shortest, floats
    yield "17 digits, printf", "float64", printf("%.17g"), gauss
    yield "token ids", "int64", json.dumps, many(lambda _: int(30522 ** rng.random()))
    yield "token ids below 128,256", "int64", node, many(lambda _: rng.randrange(128256))
    yield "pixels", "int64", json.dumps, many(pixel)
    yield "16-bit audio", "int64", json.dumps, audio
    yield "mask of 0 and 1", "int64", json.dumps, many(lambda i: int(i % 128 < 77))


def main():
    FOLDER.mkdir(parents=True, exist_ok=True)
    with open(FOLDER / "index", "w") as index:
        for file, (title, element_type, write, numbers) in enumerate(texts(random.Random(7))):
            (FOLDER / f"{file}.json").write_text(write(list(numbers)[:COUNT]))
            index.write(f"{file}.json\t{element_type}\t{title}\n")


main()
