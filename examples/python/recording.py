"""Reads recordings as the speech models want them: one channel, 16,000 samples a second."""
import array
import sys
import wave

RATE = 16000
DEFAULT = "/usr/share/sounds/alsa/Front_Center.wav"  # Two words, from Debian's alsa-utils.
TAKES = "a 16-bit PCM .wav file, mono or stereo, at 16 kHz or a multiple of it"


class RecordingError(Exception):
    """Why a recording cannot be used."""


def load(path):
    """The samples of a recording, -1 to 1; channels and surplus samples are averaged."""
    try:
        with wave.open(str(path), "rb") as file:
            channels, width, rate = file.getparams()[:3]
            frames = file.readframes(file.getnframes())
    except (OSError, EOFError, wave.Error) as error:
        reason = getattr(error, "strerror", None) or str(error) or "the file ends too early"
        raise RecordingError(f"cannot read {path}: {reason} (wanted: {TAKES})") from None
    if width != 2 or channels not in (1, 2) or rate == 0 or rate % RATE:
        found = f"{8 * width}-bit samples, {channels} channel(s), {rate} Hz"
        raise RecordingError(f"{path} has {found} (wanted: {TAKES})")
    step = channels * (rate // RATE)
    samples = array.array("h", frames[:len(frames) // (2 * step) * 2 * step])
    if sys.byteorder == "big":
        samples.byteswap()
    # Six decimals are 30 times finer than a 16-bit step and keep the feeds short.
    return [round(sum(samples[i:i + step]) / step / 32768, 6) for i in range(0, len(samples), step)]


def add_argument(parser):
    """The recording as an argument of a program, which takes DEFAULT without it."""
    help_text = f"{TAKES} (default: %(default)s)"
    parser.add_argument("recording", nargs="?", default=DEFAULT, help=help_text)
