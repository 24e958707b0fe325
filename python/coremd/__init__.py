"""Motion detection on a coarse grid of blocks, for surveillance video.

    reducer = coremd.BlockReducer(1280, 720)
    with coremd.Detector(rate=10) as detector:
        for y, cb, cr, time in pictures:                            # planes of 4:2:0, seconds
            frame = detector.detect(reducer.reduce(y, cb, cr), time=time)
            for thing in frame.objects:
                print(time, thing.left, thing.top, thing.right, thing.bottom)

What the library would end a process for is a ValueError here, with the library's words. A detector and a reducer serve one
thread at a time; different ones work at the same time.
"""
from ._native import (BackgroundMemory, BlockReducer, ConditionedFrame, Conditioner, Detector, Disturbance, Frame, Grid,
                      LabelMap, Object, Priming, StateMap, library_version, outline_labels, polygon_mask)

__all__ = ["BackgroundMemory", "BlockReducer", "ConditionedFrame", "Conditioner", "Detector", "Disturbance", "Frame", "Grid",
           "LabelMap", "Object", "Priming", "StateMap", "library_version", "outline_labels", "polygon_mask"]
