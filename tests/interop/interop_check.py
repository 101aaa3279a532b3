#!/usr/bin/env python3
"""Reads MP3 files made and tagged by peer tools with `melos show --json`.

lame encodes short MP3s from generated sine waves; mutagen (ID3v2.3 and 2.4,
Latin-1, UTF-16 and UTF-8 texts) and eyeD3 (its command line) tag copies of
them. Every value melos reports is checked against what the peer wrote, and the
duration and average bitrate against ffprobe. Broken files must give an error
object or a valid object, never a crash.

Usage: interop_check.py PATH_OF_MELOS [--keep DIR]

Exit status: 0 when every check passed, 1 when one failed, 77 when the tools
needed are not installed (the test is then skipped).
"""

import argparse
import json
import math
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import wave
import zlib

SKIP = 77


def find_python_with_mutagen():
    """Another python3 on PATH that has mutagen, when this one has not."""
    here = os.path.realpath(sys.executable)
    for folder in os.environ.get("PATH", "").split(os.pathsep):
        candidate = os.path.join(folder, "python3")
        if not os.access(candidate, os.X_OK) or os.path.realpath(candidate) == here:
            continue
        probe = subprocess.run([candidate, "-c", "import mutagen"],
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        if probe.returncode == 0:
            return candidate
    return None


try:
    import mutagen  # noqa: F401
    from mutagen.id3 import (APIC, COMM, ID3, TALB, TCON, TDRC, TIT2, TPE1, TPOS,
                             TRCK, TXXX, TYER)
    HAVE_MUTAGEN = True
except ImportError:
    # A version manager's python may stand before the system's on PATH; the
    # system's is the one the distribution's mutagen package belongs to.
    if os.environ.get("MELOS_INTEROP_REEXEC") != "1":
        other = find_python_with_mutagen()
        if other:
            os.environ["MELOS_INTEROP_REEXEC"] = "1"
            os.execv(other, [other] + sys.argv)
    HAVE_MUTAGEN = False


class Checker:
    def __init__(self):
        self.failures = []
        self.passed = 0

    def equal(self, case, field, actual, expected):
        if actual == expected:
            self.passed += 1
        else:
            self.failures.append(f"{case}: {field}: melos {actual!r}, expected {expected!r}")

    def true(self, case, what, condition, detail=""):
        if condition:
            self.passed += 1
        else:
            self.failures.append(f"{case}: {what} {detail}".rstrip())


# --- generated sources ------------------------------------------------------------

def write_wav(path, seconds, rate, channels):
    """A sine whose pitch and loudness wander, so that a VBR encoder varies."""
    frames = int(seconds * rate)
    samples = bytearray()
    phase = 0.0
    for i in range(frames):
        t = i / rate
        frequency = 220.0 + 660.0 * (0.5 + 0.5 * math.sin(2 * math.pi * 0.3 * t))
        phase += 2 * math.pi * frequency / rate
        loudness = 0.2 + 0.6 * (0.5 + 0.5 * math.sin(2 * math.pi * 0.7 * t))
        noise = ((i * 1103515245 + 12345) >> 8) % 2001 - 1000
        value = int(32767 * loudness * math.sin(phase) * 0.9 + noise * (2.0 if t > seconds / 2 else 0.2))
        value = max(-32768, min(32767, value))
        samples += struct.pack("<h", value) * channels
    with wave.open(path, "wb") as out:
        out.setnchannels(channels)
        out.setsampwidth(2)
        out.setframerate(rate)
        out.writeframes(bytes(samples))


def extended80(value):
    """A whole number as the 80-bit extended float of an AIFF COMM chunk."""
    exponent = value.bit_length() - 1
    return struct.pack(">HQ", 16383 + exponent, value << (63 - exponent))


def write_aiff(path, wav_path):
    """The samples of a 16-bit WAV file in an AIFF container."""
    with wave.open(wav_path, "rb") as source:
        channels, rate = source.getnchannels(), source.getframerate()
        frames = source.getnframes()
        little = source.readframes(frames)
    big = b"".join(little[i + 1:i + 2] + little[i:i + 1] for i in range(0, len(little), 2))
    comm = struct.pack(">hIh", channels, frames, 16) + extended80(rate)
    ssnd = struct.pack(">II", 0, 0) + big
    body = (b"AIFF" + b"COMM" + struct.pack(">I", len(comm)) + comm
            + b"SSND" + struct.pack(">I", len(ssnd)) + ssnd)
    with open(path, "wb") as out:
        out.write(b"FORM" + struct.pack(">I", len(body)) + body)
    return frames, rate, channels


def png_bytes(width=4, height=4):
    def chunk(kind, body):
        return (struct.pack(">I", len(body)) + kind + body
                + struct.pack(">I", zlib.crc32(kind + body) & 0xFFFFFFFF))
    rows = b"".join(b"\x00" + b"\xff\x00\x00" * width for _ in range(height))
    return (b"\x89PNG\r\n\x1a\n"
            + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


def jpeg_bytes(size=700):
    """Start of image, a JFIF segment, filler and end of image: enough for tag tools."""
    app0 = b"\xff\xe0" + struct.pack(">H", 16) + b"JFIF\x00\x01\x01\x00\x00\x01\x00\x01\x00\x00"
    body = b"\xff\xd8" + app0
    return body + bytes((i * 7) % 251 for i in range(size - len(body) - 2)) + b"\xff\xd9"


def encode(lame, wav, mp3, options):
    subprocess.run([lame, "--quiet"] + options + [wav, mp3], check=True)


# --- cases ------------------------------------------------------------------------

class Case:
    """One tagged file and what melos must read from it."""

    def __init__(self, name, source, expected, version):
        self.name = name
        self.source = source
        self.expected = expected  # v2 key -> value; special keys below
        self.version = version
        self.path = None


def mutagen_cases(work, sources, jpeg, png):
    cases = []

    def tag(case, frames):
        shutil.copyfile(case.source, case.path)
        tags = ID3()
        for frame in frames:
            tags.add(frame)
        tags.save(case.path, v2_version=case.version)
        cases.append(case)

    case = Case("mutagen-2.3-latin1", sources["cbr"], {
        "title": "Caf\u00e9 au lait", "artist": "Artiste", "album": "Album \u00c4",
        "year": "2003", "track": 3, "tracks": 12, "set": 1, "sets": 2, "genre": "Rock",
        "comment": "Comment with a description",
        "usertext": [{"description": "MyKey", "value": "My value"}],
        "picdata": [{"type": "jpeg", "size": len(jpeg)}],
    }, 3)
    case.path = os.path.join(work, case.name + ".mp3")
    tag(case, [TIT2(encoding=0, text="Caf\u00e9 au lait"), TPE1(encoding=0, text="Artiste"),
               TALB(encoding=0, text="Album \u00c4"), TYER(encoding=0, text="2003"),
               TRCK(encoding=0, text="3/12"), TPOS(encoding=0, text="1/2"),
               TCON(encoding=0, text="(17)"),
               COMM(encoding=0, lang="eng", desc="notes", text="Comment with a description"),
               TXXX(encoding=0, desc="MyKey", text="My value"),
               APIC(encoding=0, mime="image/jpeg", type=3, desc="cover", data=jpeg)])

    case = Case("mutagen-2.3-utf16", sources["vbr"], {
        "title": "\u65e5\u672c\u8a9e\u306e\u984c", "artist": "\u03a9mega",
        "album": "\u00dcn\u00efc\u00f6d\u00e9", "year": "1987", "track": 3, "tracks": 12,
        "genre": "Rock", "comment": "\u30b3\u30e1\u30f3\u30c8",
        "usertext": [{"description": "\u00c9tiquette", "value": "\u5024"}],
        "picdata": [{"type": "png", "size": len(png)}],
    }, 3)
    case.path = os.path.join(work, case.name + ".mp3")
    tag(case, [TIT2(encoding=1, text="\u65e5\u672c\u8a9e\u306e\u984c"),
               TPE1(encoding=1, text="\u03a9mega"),
               TALB(encoding=1, text="\u00dcn\u00efc\u00f6d\u00e9"),
               TYER(encoding=0, text="1987"), TRCK(encoding=1, text="3/12"),
               TCON(encoding=1, text="(17)Rock"),
               COMM(encoding=1, lang="eng", desc="", text="\u30b3\u30e1\u30f3\u30c8"),
               TXXX(encoding=1, desc="\u00c9tiquette", text="\u5024"),
               APIC(encoding=1, mime="image/png", type=4, desc="back", data=png)])

    # UTF-8 is read into Latin-1 when every character fits, else UTF-16; the
    # JSON shows UTF-8 either way.
    case = Case("mutagen-2.4-utf8", sources["mono"], {
        "title": "Cr\u00e8me br\u00fbl\u00e9e", "artist": "\u0394\u03ad\u03bb\u03c4\u03b1",
        "album": "Plain album", "year": "2011", "recordtime": "2011-04-05",
        "track": 3, "tracks": 12, "set": 2, "sets": 3, "genre": "Rock",
        "comment": "utf8 comment \u2713",
        "usertext": [{"description": "Key8", "value": "\u00fcber \u2192 value"}],
        "picdata": [{"type": "jpeg", "size": len(jpeg)}],
    }, 4)
    case.path = os.path.join(work, case.name + ".mp3")
    tag(case, [TIT2(encoding=3, text="Cr\u00e8me br\u00fbl\u00e9e"),
               TPE1(encoding=3, text="\u0394\u03ad\u03bb\u03c4\u03b1"),
               TALB(encoding=3, text="Plain album"), TDRC(encoding=3, text="2011-04-05"),
               TRCK(encoding=3, text="3/12"), TPOS(encoding=3, text="2/3"),
               TCON(encoding=3, text="Rock"),
               COMM(encoding=3, lang="eng", desc="", text="utf8 comment \u2713"),
               TXXX(encoding=3, desc="Key8", text="\u00fcber \u2192 value"),
               APIC(encoding=3, mime="image/jpeg", type=3, desc="", data=jpeg)])

    case = Case("mutagen-2.4-utf16", sources["cbr"], {
        "title": "\u0417\u0430\u0433\u043e\u043b\u043e\u0432\u043e\u043a", "artist": "Latin artist",
        "year": "1999", "track": 3, "tracks": 12, "genre": "Rock",
        "comment": "Two\nlines",
        "usertext": [{"description": "A", "value": "1"}, {"description": "B", "value": "2"}],
        "picdata": [{"type": "png", "size": len(png)}, {"type": "jpeg", "size": len(jpeg)}],
    }, 4)
    case.path = os.path.join(work, case.name + ".mp3")
    tag(case, [TIT2(encoding=1, text="\u0417\u0430\u0433\u043e\u043b\u043e\u0432\u043e\u043a"),
               TPE1(encoding=1, text="Latin artist"), TDRC(encoding=0, text="1999"),
               TRCK(encoding=1, text="3/12"), TCON(encoding=1, text="(17)"),
               COMM(encoding=1, lang="eng", desc="", text="Two\nlines"),
               TXXX(encoding=1, desc="A", text="1"), TXXX(encoding=1, desc="B", text="2"),
               APIC(encoding=0, mime="image/png", type=3, desc="front", data=png),
               APIC(encoding=0, mime="image/jpeg", type=4, desc="back", data=jpeg)])
    return cases


def eyed3_cases(work, sources, eyed3, jpeg_path, jpeg_size):
    cases = []
    specs = [
        ("eyed3-2.3", "cbr", "--to-v2.3", 3, "Eye Title", "Eye Artist", "Eye Album"),
        ("eyed3-2.4", "vbr", "--to-v2.4", 4, "\u00c6ye T\u00eftle", "\u65e5\u672c Artist",
         "Eye \u03b1lbum"),
    ]
    for name, source, flag, version, title, artist, album in specs:
        case = Case(name, sources[source], {
            "title": title, "artist": artist, "album": album, "year": "2005",
            "track": 3, "tracks": 12, "genre": "Rock", "comment": "Eye comment",
            "usertext": [{"description": "EyeKey", "value": "EyeValue"}],
            "picdata": [{"type": "jpeg", "size": jpeg_size}],
        }, version)
        case.path = os.path.join(work, name + ".mp3")
        shutil.copyfile(case.source, case.path)
        subprocess.run([eyed3, "--quiet", "--no-color", flag, "-a", artist, "-A", album,
                        "-t", title, "-n", "3", "-N", "12", "-G", "Rock",
                        "--recording-date", "2005", "--add-comment", "Eye comment",
                        "--user-text-frame", "EyeKey:EyeValue",
                        "--add-image", jpeg_path + ":FRONT_COVER", case.path],
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        cases.append(case)
    return cases


# --- files rewritten by melos -----------------------------------------------------

def tool_environment(work):
    """The user's own settings and trash stay out of the test."""
    env = dict(os.environ)
    env["XDG_CONFIG_HOME"] = os.path.join(work, "config")
    env["XDG_DATA_HOME"] = os.path.join(work, "data")
    return env


def tag_end(data):
    if data[:3] != b"ID3":
        return 0
    s = data[6:10]
    return 10 + ((s[0] & 0x7F) << 21 | (s[1] & 0x7F) << 14 | (s[2] & 0x7F) << 7 | (s[3] & 0x7F))


def peer_reading(path):
    """What mutagen and eyeD3 read from a file, in the keys of melos's JSON."""
    readings = {}
    if HAVE_MUTAGEN:
        tags = ID3(path)
        texts = {key: str(tags[key].text[0]) for key in ("TIT2", "TPE1", "TALB", "TRCK") if key in tags}
        comments = [str(frame.text[0]) for frame in tags.getall("COMM")]
        readings["mutagen"] = {
            "version": tags.version[1],
            "title": texts.get("TIT2"), "artist": texts.get("TPE1"), "album": texts.get("TALB"),
            "track": texts.get("TRCK"),
            "genre": tags["TCON"].genres[0] if "TCON" in tags else None,
            "comments": comments,
            "usertext": sorted((frame.desc, str(frame.text[0])) for frame in tags.getall("TXXX")),
            "pictures": sorted(len(frame.data) for frame in tags.getall("APIC")),
        }
    try:
        import eyed3
        import logging
        logging.getLogger("eyed3").setLevel(logging.ERROR)
        tag = eyed3.load(path).tag
        readings["eyeD3"] = {
            "version": tag.version[1],
            "title": tag.title, "artist": tag.artist, "album": tag.album,
            "track": f"{tag.track_num[0]}/{tag.track_num[1]}" if tag.track_num[1] else str(tag.track_num[0]),
            "genre": tag.genre.name if tag.genre else None,
            "comments": [c.text for c in tag.comments],
            "usertext": sorted((t.description, t.text) for t in tag.user_text_frames),
            "pictures": sorted(len(image.image_data) for image in tag.images),
        }
    except ImportError:
        pass
    return readings


def check_rewrites(check, melos, work, cases, ffprobe):
    """Each peer-tagged file is rewritten by melos at the other version and read
    back by the peers; their reading must agree with what was written."""
    env = tool_environment(work)
    for case in cases:
        name = "rewrite " + case.name
        path = os.path.join(work, "rw-" + case.name + ".mp3")
        shutil.copyfile(case.path, path)
        version = 3 if case.version == 4 else 4
        arguments = [melos, "convert", "--to", str(version)] + (["--force"] if version == 3 else []) + [path]
        result = subprocess.run(arguments, stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=env, timeout=60)
        check.equal(name, "convert exit status", result.returncode, 0)
        if result.returncode != 0:
            print(result.stderr.decode(errors="replace"), file=sys.stderr)
            continue
        with open(case.path, "rb") as before, open(path, "rb") as after:
            old, new = before.read(), after.read()
        check.true(name, "the audio behind the tag is unchanged", old[tag_end(old):] == new[tag_end(new):])

        expected = case.expected
        want = {
            "version": version, "title": expected["title"], "artist": expected["artist"],
            "album": expected.get("album"), "track": f"{expected['track']}/{expected['tracks']}",
            "genre": expected["genre"],
            "usertext": sorted((u["description"], u["value"]) for u in expected["usertext"]),
            "pictures": sorted(p["size"] for p in expected["picdata"]),
        }
        for tool, reading in peer_reading(path).items():
            for key, value in want.items():
                check.equal(f"{name} ({tool})", key, reading.get(key), value)
            check.true(f"{name} ({tool})", "comment", expected["comment"] in reading["comments"],
                       f"{reading['comments']!r}")
        if ffprobe:
            probe = subprocess.run([ffprobe, "-v", "error", "-show_entries", "format_tags", "-of", "json", path],
                                   stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True)
            tags = {k.lower(): v for k, v in json.loads(probe.stdout)["format"].get("tags", {}).items()}
            for key in ("title", "artist", "album"):
                if expected.get(key) is not None:
                    check.equal(f"{name} (ffprobe)", key, tags.get(key), expected[key])



# --- running melos ----------------------------------------------------------------

def run_melos(melos, paths, full_scan=True, json_output=True):
    arguments = [melos, "show"]
    if json_output:
        arguments.append("--json")
    if full_scan:
        arguments.append("--full-scan")
    result = subprocess.run(arguments + ["--"] + paths, stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE, timeout=120)
    return result


def ffprobe_facts(ffprobe, path):
    """Duration in seconds and the average audio bitrate in kbps.

    ffprobe's format bit_rate is the whole file's size over the duration, so on
    a file of a few seconds the tags alone move it by several percent; melos
    averages the MPEG frames. The tags' share is taken out of ffprobe's figure.
    """
    # ffprobe complains about pictures it cannot decode; that is not our concern.
    result = subprocess.run([ffprobe, "-v", "error", "-show_entries", "format=duration,bit_rate",
                             "-of", "json", path], stdout=subprocess.PIPE,
                            stderr=subprocess.DEVNULL, check=True)
    fmt = json.loads(result.stdout)["format"]
    size = os.path.getsize(path)
    return float(fmt["duration"]), float(fmt["bit_rate"]) / 1000.0 * audio_bytes(path) / size


def audio_bytes(path):
    """The file's size less its ID3v2 tag at the start and ID3v1 tag at the end."""
    with open(path, "rb") as source:
        data = source.read()
    size = len(data)
    if data[:3] == b"ID3" and len(data) >= 10:
        s = data[6:10]
        size -= 10 + ((s[0] & 0x7F) << 21 | (s[1] & 0x7F) << 14 | (s[2] & 0x7F) << 7 | (s[3] & 0x7F))
        if data[5] & 0x10:
            size -= 10  # footer
    if len(data) >= 128 and data[-128:-125] == b"TAG":
        size -= 128
    return size


def check_case(check, case, report, ffprobe):
    name = case.name
    if "error" in report:
        check.true(name, "opened", False, f"error: {report['error']}")
        return
    check.equal(name, "kind", report.get("kind"), "mp3")
    check.equal(name, "v2Version", report.get("v2Version"), case.version)
    v2 = report.get("v2")
    if not isinstance(v2, dict):
        check.true(name, "has a V2 tag", False)
        return
    expected = dict(case.expected)
    for key in ("usertext", "picdata"):
        if key in expected:
            actual = v2.get(key, [])
            check.equal(name, key + " count", len(actual), len(expected[key]))
            # The engine keeps the order of the frames; compare as sets all the
            # same, so that a reordering peer does not fail the check.
            sort_key = (lambda e: json.dumps(e, sort_keys=True))
            check.equal(name, key, sorted(actual, key=sort_key),
                        sorted(expected.pop(key), key=sort_key))
    for key, value in expected.items():
        check.equal(name, key, v2.get(key), value)

    audio = report.get("audio") or {}
    if ffprobe:
        duration, bitrate = ffprobe_facts(ffprobe, case.path)
        melos_duration = audio.get("duration")
        check.true(name, "duration", isinstance(melos_duration, int)
                   and abs(melos_duration - duration) <= 1.0,
                   f"melos {melos_duration} s, ffprobe {duration:.3f} s")
        melos_bitrate = audio.get("bitrate")
        check.true(name, "bitrate", isinstance(melos_bitrate, int)
                   and abs(melos_bitrate - bitrate) <= 0.03 * bitrate,
                   f"melos {melos_bitrate} kbps, ffprobe {bitrate:.1f} kbps")


def check_audio_kinds(check, reports_by_name, cases):
    """What the encoder was told, independent of any tag."""
    expectations = {
        "cbr": {"mpegVersion": "1", "layer": 3, "sampleRate": 44100, "vbr": False},
        "vbr": {"mpegVersion": "1", "layer": 3, "sampleRate": 44100, "vbr": True},
        "mono": {"mpegVersion": "2", "layer": 3, "sampleRate": 22050, "channels": 1},
    }
    for case in cases:
        audio = (reports_by_name.get(case.name) or {}).get("audio") or {}
        kind = os.path.basename(case.source).split(".")[0]
        for key, value in expectations[kind].items():
            check.equal(case.name, "audio." + key, audio.get(key), value)
        # The encoder header is looked for where an MPEG-1 stereo frame has it.
        if expectations[kind]["mpegVersion"] == "1":
            check.true(case.name, "audio.lame", str(audio.get("lame", "")).startswith("LAME"),
                       f"got {audio.get('lame')!r}")


def check_aiff(check, melos, work, wav_path, ffprobe):
    """An AIFF file whose ID3 chunk mutagen wrote; the audio facts come from COMM."""
    from mutagen.aiff import AIFF
    name = "mutagen-aiff-2.4"
    path = os.path.join(work, name + ".aif")
    frames, rate, channels = write_aiff(path, wav_path)
    aiff = AIFF(path)
    aiff.add_tags()
    aiff.tags.add(TIT2(encoding=3, text="AIFF \u00e9t\u00e9 \u266b"))
    aiff.tags.add(TPE1(encoding=1, text="Chunk artist"))
    aiff.tags.add(TRCK(encoding=0, text="5/9"))
    aiff.save(v2_version=4)

    result = run_melos(melos, [path])
    check.equal(name, "exit status", result.returncode, 0)
    report = json.loads(result.stdout)[0]
    if "error" in report:
        check.true(name, "opened", False, f"error: {report['error']}")
        return
    check.equal(name, "kind", report.get("kind"), "aiff")
    check.equal(name, "v1", report.get("v1"), None)
    check.equal(name, "v2Version", report.get("v2Version"), 4)
    v2 = report.get("v2") or {}
    check.equal(name, "title", v2.get("title"), "AIFF \u00e9t\u00e9 \u266b")
    check.equal(name, "artist", v2.get("artist"), "Chunk artist")
    check.equal(name, "track", v2.get("track"), 5)
    check.equal(name, "tracks", v2.get("tracks"), 9)
    audio = report.get("audio") or {}
    check.equal(name, "audio.mpegVersion", audio.get("mpegVersion"), None)
    check.equal(name, "audio.sampleRate", audio.get("sampleRate"), rate)
    check.equal(name, "audio.channels", audio.get("channels"), channels)
    check.equal(name, "audio.sampleSize", audio.get("sampleSize"), 16)
    check.equal(name, "audio.frames", audio.get("frames"), frames)
    check.equal(name, "audio.bitrate", audio.get("bitrate"), 16 * channels * rate // 1000)
    if ffprobe:
        duration, _ = ffprobe_facts(ffprobe, path)
        check.true(name, "duration", abs(audio.get("duration", -9) - duration) <= 1.0,
                   f"melos {audio.get('duration')}, ffprobe {duration:.3f}")

    with open(path, "rb") as source:
        data = source.read()
    chunk = data.find(b"ID3 ")
    broken = {}
    for broken_name, broken_data in (
            ("aiff-cut-in-id3-chunk.aif", data[:chunk + 30]),
            ("aiff-huge-id3-chunk.aif", data[:chunk + 4] + b"\x7f\xff\xff\xff" + data[chunk + 8:]),
            ("aiff-no-comm.aif", data[:12] + data[data.find(b"SSND"):])):
        broken[broken_name] = os.path.join(work, broken_name)
        with open(broken[broken_name], "wb") as out:
            out.write(broken_data)
    check_broken(check, melos, broken)


def check_kept_parts(check, melos, work, source, jpeg, id3v2):
    """A save keeps what no field shows (picture types and descriptions, the
    comment's language and description, the rating's email and counter, the
    second value of a frame, kept UTF-8 frames), as mutagen and id3v2 read it."""
    from mutagen.id3 import POPM, USLT, WXXX
    name = "kept parts"
    path = os.path.join(work, "kept-parts.mp3")
    shutil.copyfile(source, path)
    tags = ID3()
    for frame in (TIT2(encoding=3, text="Old title"), TPE1(encoding=3, text=["One", "Tw\u00f6"]),
                  APIC(encoding=3, mime="image/jpeg", type=3, desc="Fa\u00e7ade", data=jpeg),
                  APIC(encoding=3, mime="image/jpeg", type=4, desc="Back \u2713", data=jpeg),
                  COMM(encoding=0, lang="fra", desc="", text="Bonjour"),
                  COMM(encoding=3, lang="deu", desc="zweite", text="Gr\u00fc\u00dfe"),
                  USLT(encoding=3, lang="eng", desc="verse", text="la la"),
                  WXXX(encoding=0, desc="", url="http://example.org/1"),
                  WXXX(encoding=3, desc="zw\u00f6i", url="http://example.org/2"),
                  POPM(email="me@example.org", rating=196, count=7)):
        tags.add(frame)
    tags.save(path, v2_version=4)
    want = {
        "title": "New title", "artist": ["One", "Tw\u00f6"],
        "pictures": [(3, "Fa\u00e7ade"), (4, "Back \u2713")],
        "comments": [("deu", "zweite", "Gr\u00fc\u00dfe"), ("fra", "", "Bonjour")],
        "lyrics": [("eng", "verse", "la la")],
        "urls": [("", "http://example.org/1"), ("zw\u00f6i", "http://example.org/2")],
        "rating": [("me@example.org", 196, 7)],
    }
    env = tool_environment(work)
    steps = ((4, [melos, "set", "--title", "New title", "--version", "4", "--yes", path]),
             (3, [melos, "convert", "--to", "3", "--force", path]))
    for version, arguments in steps:
        step = f"{name}, 2.{version}"
        result = subprocess.run(arguments, stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=env, timeout=60)
        check.equal(step, "exit status", result.returncode, 0)
        tags = ID3(path)
        got = {
            "title": str(tags["TIT2"].text[0]), "artist": [str(text) for text in tags["TPE1"].text],
            "pictures": sorted((frame.type, frame.desc) for frame in tags.getall("APIC")),
            "comments": sorted((frame.lang, frame.desc, str(frame.text[0])) for frame in tags.getall("COMM")),
            "lyrics": [(frame.lang, frame.desc, frame.text) for frame in tags.getall("USLT")],
            "urls": sorted((frame.desc, frame.url) for frame in tags.getall("WXXX")),
            "rating": [(frame.email, frame.rating, frame.count) for frame in tags.getall("POPM")],
        }
        check.equal(step, "version", tags.version[1], version)
        for key, value in want.items():
            check.equal(step, key, got[key], value)
        if version == 3:
            check.true(step, "no UTF-8 in a 2.3 tag", all(getattr(frame, "encoding", 0) != 3
                                                           for frame in tags.values()))
    if id3v2:
        listing = subprocess.run([id3v2, "-l", path], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                 timeout=60).stdout.decode("latin-1")
        for text in ("Bonjour", "zweite", "verse"):
            check.true(name + ", id3v2 -l", f"shows {text}", text in listing, listing)


def check_odd_aiff(check, melos, work, wav_path, ffprobe):
    """An AIFF whose sound chunk was cut at an odd length is saved with the
    chunk's pad byte, so every reader finds the new tag behind it."""
    from mutagen.aiff import AIFF
    name = "odd AIFF"
    whole = os.path.join(work, "odd-source.aif")
    write_aiff(whole, wav_path)
    with open(whole, "rb") as source:
        data = source.read()
    path = os.path.join(work, "odd.aif")
    with open(path, "wb") as out:
        out.write(data[:len(data) - 1001 if len(data) % 2 == 0 else len(data) - 1000])
    result = subprocess.run([melos, "set", "--title", "Odd", "--yes", path], stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE, env=tool_environment(work), timeout=60)
    check.equal(name, "set exit status", result.returncode, 0)
    check.equal(name, "mutagen reads the tag", str(AIFF(path).tags["TIT2"].text[0]), "Odd")
    if ffprobe:
        probe = subprocess.run([ffprobe, "-v", "error", "-show_entries", "format_tags", "-of", "json", path],
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        tags = {k.lower(): v for k, v in json.loads(probe.stdout or b"{}").get("format", {}).get("tags", {}).items()}
        check.equal(name, "ffprobe reads the tag", tags.get("title"), "Odd")


def broken_files(work, good_path):
    """Files no tool should trust: each must give an object, never a crash."""
    with open(good_path, "rb") as source:
        good = source.read()
    files = {}

    def put(name, data):
        path = os.path.join(work, name)
        with open(path, "wb") as out:
            out.write(data)
        files[name] = path

    put("truncated-tag.mp3", good[:300])
    put("truncated-audio.mp3", good[:len(good) // 2])
    put("garbage.mp3", bytes((i * 131 + 17) % 256 for i in range(5000)))
    put("garbage.aif", b"FORM" + bytes((i * 31) % 256 for i in range(3000)))
    put("garbage.tdf", bytes((i * 57) % 256 for i in range(2000)))
    put("empty.mp3", b"")
    put("huge-tag-size.mp3", b"ID3\x03\x00\x00\x7f\x7f\x7f\x7f" + b"TIT2\x7f\xff\xff\xff\x00\x00abc")
    put("frame-past-tag.mp3", b"ID3\x04\x00\x00\x00\x00\x00\x20" + b"TIT2\x00\x00\x7f\x7f\x00\x00\x00x"
        + bytes(16) + good[len(good) // 2:])
    put("utf16be-2.4.mp3", b"ID3\x04\x00\x00\x00\x00\x00\x15" + b"TIT2\x00\x00\x00\x0b\x00\x00\x02"
        + "\u0394\u03ad\u03bb\u03c4\u03b1".encode("utf-16-be") + good[-1000:])
    return files


def check_broken(check, melos, files):
    for name, path in sorted(files.items()):
        result = run_melos(melos, [path])
        if result.returncode < 0:
            check.true(name, "no crash", False, f"killed by signal {-result.returncode}")
            continue
        check.true(name, "exit status 0 or 1", result.returncode in (0, 1),
                   f"got {result.returncode}: {result.stderr.decode(errors='replace')}")
        try:
            reports = json.loads(result.stdout)
        except ValueError as error:
            check.true(name, "JSON output", False, str(error))
            continue
        check.true(name, "one report", isinstance(reports, list) and len(reports) == 1)
        if isinstance(reports, list) and reports:
            report = reports[0]
            has_error = "error" in report and isinstance(report["error"], str) and report["error"]
            check.true(name, "an error or a track", has_error or "kind" in report, repr(report))
            check.equal(name, "exit status", result.returncode, 1 if has_error else 0)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("melos")
    parser.add_argument("--keep", help="make the files in this folder and keep them")
    options = parser.parse_args()

    lame = shutil.which("lame")
    eyed3 = shutil.which("eyeD3")
    ffprobe = shutil.which("ffprobe")
    if not lame:
        print("SKIP: lame is not installed")
        return SKIP
    if not HAVE_MUTAGEN and not eyed3:
        print("SKIP: neither mutagen nor eyeD3 is installed")
        return SKIP
    for tool, present in (("mutagen", HAVE_MUTAGEN), ("eyeD3", eyed3), ("ffprobe", ffprobe)):
        if not present:
            print(f"note: {tool} is not installed; its checks are skipped")

    if options.keep:
        os.makedirs(options.keep, exist_ok=True)
        work = options.keep
    else:
        work = tempfile.mkdtemp(prefix="melos-interop-")
    try:
        return run_checks(options.melos, work, lame, eyed3, ffprobe)
    finally:
        if not options.keep:
            shutil.rmtree(work, ignore_errors=True)


def run_checks(melos, work, lame, eyed3, ffprobe):
    check = Checker()
    stereo_wav = os.path.join(work, "stereo.wav")
    mono_wav = os.path.join(work, "mono.wav")
    write_wav(stereo_wav, 4.0, 44100, 2)
    write_wav(mono_wav, 3.0, 22050, 1)
    sources = {"cbr": os.path.join(work, "cbr.mp3"), "vbr": os.path.join(work, "vbr.mp3"),
               "mono": os.path.join(work, "mono.mp3")}
    encode(lame, stereo_wav, sources["cbr"], ["--cbr", "-b", "128"])
    encode(lame, stereo_wav, sources["vbr"], ["-V", "4"])
    encode(lame, mono_wav, sources["mono"], ["-m", "m", "-b", "64"])

    jpeg = jpeg_bytes()
    png = png_bytes()
    jpeg_path = os.path.join(work, "cover.jpg")
    with open(jpeg_path, "wb") as out:
        out.write(jpeg)

    cases = []
    if HAVE_MUTAGEN:
        cases += mutagen_cases(work, sources, jpeg, png)
    if eyed3:
        cases += eyed3_cases(work, sources, eyed3, jpeg_path, len(jpeg))

    result = run_melos(melos, [case.path for case in cases])
    check.equal("show --json", "exit status", result.returncode, 0)
    if result.returncode != 0:
        print(result.stderr.decode(errors="replace"), file=sys.stderr)
    try:
        reports = json.loads(result.stdout)
    except ValueError as error:
        print(f"FAIL: melos printed no JSON ({error}):\n{result.stdout[:2000]!r}")
        return 1
    check.equal("show --json", "report count", len(reports), len(cases))
    by_name = {}
    for case, report in zip(cases, reports):
        check.equal(case.name, "path", report.get("path"), case.path)
        by_name[case.name] = report
        check_case(check, case, report, ffprobe)
    check_audio_kinds(check, by_name, cases)

    # The untagged sources: no tags, and the audio as ffprobe sees it.
    plain = run_melos(melos, list(sources.values()))
    check.equal("untagged", "exit status", plain.returncode, 0)
    for path, report in zip(sources.values(), json.loads(plain.stdout)):
        name = "untagged " + os.path.basename(path)
        check.equal(name, "v1", report.get("v1"), None)
        check.equal(name, "v2", report.get("v2"), None)
        if ffprobe:
            duration, _ = ffprobe_facts(ffprobe, path)
            check.true(name, "duration", abs(report["audio"]["duration"] - duration) <= 1.0,
                       f"melos {report['audio']['duration']}, ffprobe {duration:.3f}")

    if HAVE_MUTAGEN:
        check_aiff(check, melos, work, stereo_wav, ffprobe)
        check_odd_aiff(check, melos, work, stereo_wav, ffprobe)
        check_kept_parts(check, melos, work, sources["cbr"], jpeg, shutil.which("id3v2"))

    if cases:
        check_broken(check, melos, broken_files(work, cases[0].path))
        check_rewrites(check, melos, work, cases, ffprobe)

    for failure in check.failures:
        print("FAIL: " + failure)
    print(f"{check.passed} checks passed, {len(check.failures)} failed "
          f"({len(cases)} tagged files)")
    return 1 if check.failures else 0


if __name__ == "__main__":
    sys.exit(main())
