"""Command line: ``python3 -m timekernel info FILE`` and ``python3 -m timekernel plot FILE ...``.

    python3 -m timekernel plot model.kernel --nodes 100,101 --keys ux,uy -o history.png
    python3 -m timekernel plot model.kernel --elements 5001 --keys axial@1,axial@2 -o bar.svg
    python3 -m timekernel plot model.kernel --nodes all --keys uz --kind envelope -o envelope.png
    python3 -m timekernel plot model.kernel --nodes 100 --keys ux --kind modes -o modes.png
"""
from __future__ import annotations

import argparse
import sys
from typing import List, Optional

from .errors import TimeKernelError


def _ids(text: str):
    if text == "all":
        return text
    try:
        return [int(t) for t in text.split(",") if t]
    except ValueError:
        raise argparse.ArgumentTypeError(f"{text!r} is not a comma-separated list of IDs (or 'all')") from None


def _keys(text: str) -> List[object]:
    return [int(t) if t.lstrip("-").isdigit() else t for t in text.split(",") if t]


def main(argv: Optional[List[str]] = None) -> int:
    parser = argparse.ArgumentParser(prog="python3 -m timekernel", description="Look into a kernel file.")
    parser.add_argument("--library", help="path of libTimeKernel.so (default: TIMEKERNEL_LIBRARY, the installed "
                                          "library, the system search path)")
    commands = parser.add_subparsers(dest="command", required=True)
    info = commands.add_parser("info", help="print what the file holds")
    info.add_argument("file")
    plot = commands.add_parser("plot", help="plot histories, an envelope or mode contributions into a file")
    plot.add_argument("file")
    where = plot.add_mutually_exclusive_group(required=True)
    where.add_argument("--nodes", type=_ids, help="node IDs, comma-separated, or 'all'")
    where.add_argument("--elements", type=_ids, help="element IDs, comma-separated, or 'all'")
    plot.add_argument("--keys", type=_keys, required=True,
                      help="response names or ids, comma-separated (ux,uy,rz; axial@1; 100140402)")
    plot.add_argument("--kind", choices=["history", "envelope", "modes"], default="history")
    plot.add_argument("--mode", type=int, help="one mode's contribution (history, envelope); modes to show "
                                               "are all stored modes")
    plot.add_argument("--rotate", action="store_true", help="values in the output system of each node/element")
    plot.add_argument("--base-motion", action="store_true", help="add the stored base motion (nodes)")
    plot.add_argument("-o", "--output", required=True, help="image file: .png, .svg or .pdf")
    args = parser.parse_args(argv)

    import timekernel
    try:
        with timekernel.open(args.file, library=args.library) as f:
            if args.command == "info":
                print(f.info)
                return 0
            from . import plot as plots
            elements = args.elements is not None
            ids = args.elements if elements else args.nodes
            if ids == "all":
                ids = f.element_ids if elements else f.node_ids
            if args.kind == "history":
                plots.history(f, ids, args.keys, elements=elements, rotate=args.rotate,
                              base_motion=args.base_motion, mode=args.mode, output=args.output)
            elif args.kind == "envelope":
                plots.envelope(f, ids, args.keys, elements=elements, rotate=args.rotate,
                               base_motion=args.base_motion, mode=args.mode, output=args.output)
            else:
                if len(ids) != 1 or len(args.keys) != 1:
                    parser.error("--kind modes plots one ID and one key")
                plots.modes(f, ids[0], args.keys[0], elements=elements, rotate=args.rotate, output=args.output)
    except TimeKernelError as e:
        print(f"timekernel: {e}", file=sys.stderr)
        return 1
    print(f"wrote {args.output}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
