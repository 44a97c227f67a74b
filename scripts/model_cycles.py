#!/usr/bin/env python3
"""Models how long AArch64 cores take for the innermost loops: model_cycles.py LIBRARY [WORD...]

Prints a Markdown table of the loops in functions whose names contain one of the words (default: those of
Base64, CRC and MD5); loops of fewer than 8 instructions and loops with a call are left out. The cycles are
those of llvm-mca of LLVM 19 (Debian: llvm-19). Cores without a model of their own use that of a close
relative: neoverse-n1 for A76, neoverse-n2 for A710, neoverse-v1 for X1. A model is not a measurement: every
load hits the first cache, every branch is predicted, and loads never wait for stores. The models ignore the
width of the decoder, so where decoding takes longer, the table has the cycles of decoding.
"""
import re
import subprocess
import sys

CORES = {"A55": ("cortex-a55", 2), "A510": ("cortex-a510", 3), "A76": ("neoverse-n1", 4),
         "A710": ("neoverse-n2", 5), "X1": ("neoverse-v1", 5)}  # LLVM's name, width of the decoder
ROUNDS = 200


def functions(library):
    """The name of each function and its instructions, by address."""
    text = subprocess.run(["aarch64-linux-gnu-objdump", "-dC", "--no-show-raw-insn", library],
                          check=True, capture_output=True, text=True).stdout
    for name, body in re.findall(r"^[0-9a-f]+ <(.*)>:\n((?:.+\n)+)", text, re.M):
        yield name, {int(at, 16): re.sub(r"\s*//.*", "", code).strip()
                     for at, code in re.findall(r"^ *([0-9a-f]+):\t(.*)", body, re.M)}


def loops(code):
    """Innermost loops of 8 instructions or more without a call: the code from the target of a backward jump
    up to the jump."""
    jumps = {at: int(to[1], 16) for at, text in code.items()
             if (to := re.match(r"(?:b|cb|tb)\S*\s.*?([0-9a-f]+) <", text))}
    back = [(to, at) for at, to in jumps.items() if to in code and to < at]
    for first, last in back:
        body = [text for at, text in sorted(code.items()) if first <= at <= last]
        inner = any((first, last) != (to, at) and first <= to and at <= last for to, at in back)
        if not inner and len(body) >= 8 and not any(re.match(r"bl|ret", text) for text in body):
            yield first, body


def cycles(body, cpu):
    """The cycles of one round, from the difference between two numbers of rounds."""
    source = "\n".join(re.sub(r"[0-9a-f]+ <.*>", "#4", text) for text in body)
    total = []
    for rounds in (ROUNDS, 2 * ROUNDS):
        said = subprocess.run(
            ["llvm-mca-19", "-mtriple=aarch64", f"-mcpu={cpu}", "-mattr=+crc,+aes", "-call-latency=1",
             f"-iterations={rounds}"], input=source, check=True, capture_output=True, text=True)
        total.append(int(re.search(r"Total Cycles:\s+(\d+)", said.stdout)[1]))
    return (total[1] - total[0]) / ROUNDS


def main():
    library, words = sys.argv[1], sys.argv[2:] or ["base64", "crc", "TransformBlocks"]
    print("| Loop | instructions | bytes |", " | ".join(f"{core} cycles" for core in CORES), "|")
    print("|---|--:|--:|" + "--:|" * len(CORES))
    for name, code in functions(library):
        for first, body in loops(code) if any(word in name for word in words) else ():
            # A round consumes as many bytes as its largest step of a pointer or count; 0: unknown.
            steps = [int(step or after, 0) for _, step, after in re.findall(
                r"(?:add|subs?)\s+([xw]\d+), \1, #(\w+)$|\], #(\d+)$", "\n".join(body), re.M)]
            bounds = [max(cycles(body, cpu), len(body) / width) for cpu, width in CORES.values()]
            short = re.sub(r"<.*>", "", name.replace("(anonymous namespace)", "")).split("(")[0]
            print(f"| {short} +{first - min(code)} | {len(body)} | {max(steps, default=0)} | "
                  + " | ".join(f"{bound:.1f}" for bound in bounds) + " |")


if __name__ == "__main__":
    main()
