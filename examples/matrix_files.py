# Matrices in files, Matrix Market's and Harwell and Boeing's: the second also with right sides, which are passed over.
import re

import numpy as np
from scipy import io, sparse


def harwell_boeing(path):
    """The matrix of such a file; SciPy refuses those with right-hand sides."""
    with open(path) as file:
        lines = file.read().splitlines()
    cards = [int(lines[1][k:k + 14] or 0) for k in range(14, 70, 14)]
    rows, columns = int(lines[2][14:28]), int(lines[2][28:42])
    line, parts = 4 if cards[3] == 0 else 5, []
    for count, form in zip(cards, (lines[3][:16], lines[3][16:32], lines[3][32:52])):
        width = int(re.search(r"[IDEF](\d+)", form).group(1))
        text = "".join(lines[line:line + count]).replace("D", "E")
        text = [text[k:k + width] for k in range(0, len(text), width)]
        parts.append(np.array([float(number) for number in text if number.strip()]))
        line += count
    start, index, values = parts
    return sparse.csc_matrix((values, index.astype(int) - 1, start.astype(int) - 1), (rows, columns))


def read(path):
    return io.mmread(path) if path.endswith(".mtx") else harwell_boeing(path)
