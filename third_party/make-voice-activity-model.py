#!/usr/bin/env python3
"""make-voice-activity-model.py silero_vad.jit OUT: writes the voice-activity model in the format that whisper.cpp reads.

The input is a zip whose data.pkl says which stored numbers belong to which part of the network. Of that pickle only
containers, tensors and plain modules are read; every other class is refused. OUT appears only if its bytes are exactly
those that the program accepts. Standard library only.
"""
import argparse
import collections
import hashlib
import os
import pickle
import struct
import sys
import zipfile

EXPECTED_SHA256 = "29940d98d42b91fbd05ce489f3ecf7c72f0a42f027e4875919a28fb4c04ea2cf"

GGML_MAGIC = 0x67676D6C
NETWORK = b"silero-16k"
VERSION = (5, 1, 2)
WINDOW, CONTEXT = 512, 64  # samples of one step, and those of the step before that it sees again
ENCODER = ((129, 128), (128, 64), (64, 64), (64, 128))  # channels in and out of each convolution
KERNEL = 3
RECURRENT = (128, 128)  # input and hidden width
OUTPUT = (128, 1)
HALF, FULL = 1, 0  # tensor types

MODEL = "_model"
TENSORS = (
    [(f"{MODEL}.encoder.{layer}.reparam_conv.{part}", HALF if part == "weight" else FULL)
     for layer in range(len(ENCODER)) for part in ("weight", "bias")]
    + [(f"{MODEL}.decoder.rnn.{part}", FULL) for part in ("weight_ih", "weight_hh", "bias_ih", "bias_hh")]
    + [(f"{MODEL}.decoder.decoder.2.weight", HALF), (f"{MODEL}.decoder.decoder.2.bias", FULL)]
)
SPECTRUM = f"{MODEL}.stft.forward_basis_buffer"

Tensor = collections.namedtuple("Tensor", "storage offset shape")


class Module:
    def __setstate__(self, state):
        if not isinstance(state, dict):
            raise pickle.UnpicklingError("a module without named parts")
        self.parts = state


def rebuild_tensor(storage, offset, shape, _stride, *_rest):
    return Tensor(storage, offset, shape)


def nothing(*_arguments):
    return None


class Reader(pickle.Unpickler):
    def find_class(self, module, name):
        if (module, name) == ("torch._utils", "_rebuild_tensor_v2"):
            return rebuild_tensor
        if (module, name) == ("collections", "OrderedDict"):
            return collections.OrderedDict
        if module == "__torch__" or module.startswith("__torch__."):
            return Module
        if module == "torch.jit._pickle" or module == "torch" and name.endswith("Storage"):
            return nothing
        raise pickle.UnpicklingError(f"{module}.{name} has no place in this file")

    def persistent_load(self, identity):
        return identity[2]


def tensors_of(value, path, found):
    if isinstance(value, Tensor):
        found[path] = value
    elif isinstance(value, Module):
        for name, part in value.parts.items():
            tensors_of(part, f"{path}.{name}" if path else name, found)
    return found


class Archive:
    def __init__(self, path):
        self.zip = zipfile.ZipFile(path)
        self.root = self.zip.namelist()[0].split("/")[0]
        with self.zip.open(f"{self.root}/data.pkl") as stream:
            self.tensors = tensors_of(Reader(stream).load(), "", {})

    def numbers(self, tensor):
        count = 1
        for size in tensor.shape:
            count *= size
        raw = self.zip.read(f"{self.root}/data/{tensor.storage}")
        return struct.unpack_from(f"<{count}f", raw, 4 * tensor.offset)


def header():
    integers = [*VERSION, WINDOW, CONTEXT, len(ENCODER)]
    for channels in ENCODER:
        integers += [*channels, KERNEL]
    integers += [*RECURRENT, *OUTPUT]
    return struct.pack("<2i", GGML_MAGIC, len(NETWORK)) + NETWORK + struct.pack(f"<{len(integers)}i", *integers)


def entry(name, kind, dimensions, numbers):
    encoded = name.encode()
    return (struct.pack("<3i", len(dimensions), len(encoded), kind)
            + struct.pack(f"<{len(dimensions)}i", *dimensions) + encoded
            + struct.pack(f"<{len(numbers)}{'e' if kind == HALF else 'f'}", *numbers))


def convert(path):
    archive = Archive(path)
    out = bytearray(header())
    for name, kind in TENSORS:
        tensor = archive.tensors[name]
        # Fastest dimension first; those of length one are left out.
        out += entry(name, kind, [size for size in reversed(tensor.shape) if size != 1], archive.numbers(tensor))
    spectrum = archive.tensors[SPECTRUM]
    out += entry(SPECTRUM, HALF, list(reversed(spectrum.shape)), archive.numbers(spectrum))
    return bytes(out)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("source")
    parser.add_argument("target")
    arguments = parser.parse_args()
    try:
        model = convert(arguments.source)
    except (OSError, KeyError, IndexError, zipfile.BadZipFile, pickle.UnpicklingError, struct.error) as error:
        sys.exit(f"{arguments.source} is not the voice-activity network that is expected: {error!r}")
    found = hashlib.sha256(model).hexdigest()
    if found != EXPECTED_SHA256:
        sys.exit(f"{arguments.source} gives a model with the checksum {found} instead of {EXPECTED_SHA256}")
    partial = arguments.target + ".part"
    with open(partial, "wb") as target:
        target.write(model)
    os.replace(partial, arguments.target)


if __name__ == "__main__":
    main()
