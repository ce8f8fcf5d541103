"""container_seeds.py FOLDER: writes what the target `container` starts from, one of each format, as pieces of files that
other programs make."""
import pathlib
import struct
import subprocess
import sys
import tempfile

PIECE = 512
MADE = {"vmdk": "-O vmdk", "stream": "-O vmdk -o subformat=streamOptimized", "vhdx": "-O vhdx", "vhd": "-O vpc",
        "qcow2": "-O qcow2 -o cluster_size=512", "packed": "-c -O qcow2 -o cluster_size=4096"}


def pieces(content):
    """The size, and all that is not zeros."""
    out = struct.pack("<I", len(content))
    for at in range(0, len(content), PIECE):
        piece = content[at:at + PIECE].rstrip(b"\0")
        out += struct.pack("<IH", at, len(piece)) + piece if piece else b""
    return out


def main(folder):
    folder.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory() as name:
        place = pathlib.Path(name)
        place.joinpath("raw.dd").write_bytes(bytes(4096) + b"NTFS data " * 300 + bytes(1 << 17))
        commands = {made: f"qemu-img convert {options} raw.dd {made}" for made, options in MADE.items()}
        commands["e.E01"] = "ewfacquire -u -t e raw.dd"
        for made, command in commands.items():
            subprocess.run(command.split(), cwd=place, check=True, stdout=subprocess.DEVNULL)
            folder.joinpath(made).write_bytes(pieces(place.joinpath(made).read_bytes()))


main(pathlib.Path(sys.argv[1]))
