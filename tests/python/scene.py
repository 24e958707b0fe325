"""What do the tests of coremd look at?  A noisy grey ground of blocks, and a bright rectangle that crosses it."""
import numpy as np

ROWS, COLUMNS = 36, 64
SQUARE = 8  # blocks along one side
RATE = 10   # frames per second


def place(i):
    """The rectangle's left column in frame i, None while it is not there."""
    left = 2 * (i - 40)
    return left if 0 <= left <= COLUMNS - SQUARE else None


def ground(random):
    """Planes [3, rows, columns] without the rectangle."""
    planes = np.full((3, ROWS, COLUMNS), 128, np.uint8)
    planes[0] = 90 + random.integers(-2, 3, (ROWS, COLUMNS))
    return planes


def frame(i, random):
    """Planes of frame i."""
    planes = ground(random)
    left = place(i)
    if left is not None:
        planes[0, 12:12 + SQUARE, left:left + SQUARE] = 210
    return planes


def frames(count=68):
    """(planes, seconds) of so many frames, the same ones each time."""
    random = np.random.default_rng(7)
    return [(frame(i, random), i / RATE) for i in range(count)]
