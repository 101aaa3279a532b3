#!/usr/bin/python3
"""mutagen's reading of each file named on the command line: MP3() loads the
whole ID3 tag (cover included) and the stream facts. The texts are decoded and
summed so that the comparison asks it for what the other readers hand on."""

import sys
import zlib

from mutagen.mp3 import MP3

TEXT_FRAMES = ("TIT2", "TPE1", "TALB", "TCON", "TYER", "TDRC", "TRCK")


def main():
    checksum = 0
    failed = 0
    for path in sys.argv[1:]:
        try:
            audio = MP3(path)
        except Exception as error:  # a failed read is counted, not fatal
            print(f"mutagen_read: {path}: {error}", file=sys.stderr)
            failed += 1
            continue
        info = audio.info
        parts = [str(int(info.length * 1000)), str(info.bitrate), str(info.sample_rate),
                 str(info.channels)]
        tags = audio.tags
        if tags is not None:
            parts += [str(tags[key]) for key in TEXT_FRAMES if key in tags]
            parts += [str(frame) for frame in tags.getall("COMM")]
        checksum = zlib.crc32("\0".join(parts).encode("utf-8"), checksum)
    print(f"mutagen_read: {len(sys.argv) - 1} files, {failed} not read, checksum {checksum:08x}")
    return 0 if failed == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
