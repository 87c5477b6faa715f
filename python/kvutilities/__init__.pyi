import datetime
import os
from typing import Any, Callable, Dict, List, Optional, Protocol, Sequence, Tuple, Union, overload

import numpy

from ._tables import ATTITUDE_QUALITIES as ATTITUDE_QUALITIES
from ._tables import POSITION_QUALITIES as POSITION_QUALITIES
from ._tables import Finding as Finding
from ._tables import Table as Table

_Path = Union[str, os.PathLike[str]]

class _Bar(Protocol):
    """As tqdm's."""

    n: Any
    total: Any
    unit: Any
    def set_description(self, desc: str, refresh: bool) -> Any: ...
    def refresh(self) -> Any: ...

_Progress = Union[Callable[[str, int, str, int, int], Any], _Bar, None]

__version__: str
__all__: List[str]

class Error(Exception): ...
class PhotoWarning(UserWarning): ...

class Mission:
    @property
    def complete(self) -> bool: ...
    @property
    def doubtful(self) -> bool: ...
    @property
    def findings(self) -> List[Finding]: ...
    @property
    def summary(self) -> Dict[str, Any]: ...
    @property
    def exposures(self) -> Table: ...
    @property
    def fixes(self) -> Optional[Table]: ...
    @property
    def heartbeats(self) -> Optional[Table]: ...
    @property
    def log(self) -> Optional[Table]: ...
    @property
    def stations(self) -> Optional[Table]: ...
    @property
    def pos(self) -> Optional[Table]: ...
    def summary_text(self) -> str: ...
    def report_html(self) -> str: ...

def run_mission(
    mission: Optional[_Path] = None,
    *,
    progress: _Progress = None,
    output: Optional[_Path] = None,
    outputs: Union[str, Sequence[str], None] = None,
    trajectory: Union[_Path, Sequence[_Path], None] = None,
    events: Optional[_Path] = None,
    housekeeping: Optional[_Path] = None,
    cam1: Optional[_Path] = None,
    cam2: Optional[_Path] = None,
    pos: Optional[_Path] = None,
    target: Optional[str] = None,
    heights: Optional[str] = None,
    timestamps: Optional[_Path] = None,
    photos: Optional[_Path] = None,
    orientation: Optional[_Path] = None,
    applanix: Optional[_Path] = None,
    position: Optional[str] = None,
    timestamp_offsets: Optional[bool] = None,
    date: Union[str, datetime.date, None] = None,
    pair: Optional[str] = None,
    cam1_offset: Union[str, float, None] = None,
    cam2_offset: Union[str, float, None] = None,
    event_offset: Optional[float] = None,
    cam1_shutter_delay: Optional[float] = None,
    cam2_shutter_delay: Optional[float] = None,
    cam1_lever_arm: Union[str, Sequence[float], None] = None,
    cam2_lever_arm: Union[str, Sequence[float], None] = None,
    heading_from_track: Optional[bool] = None,
    max_gap: Optional[float] = None,
    tolerance: Optional[float] = None,
    blur_factor: Optional[float] = None,
    no_sharpness: Optional[bool] = None,
    max_megapixels: Optional[float] = None,
    thumbnails: Optional[float] = None,
    jobs: Optional[int] = None,
    accept_doubt: Optional[bool] = None,
    allow_outside: Optional[bool] = None,
    skip_unreadable: Optional[bool] = None,
    overwrite: Optional[bool] = None,
) -> Mission: ...
def read_trajectory(
    path: _Path,
    *,
    date: Union[str, datetime.date, None] = None,
    max_gap: float = 2.0,
    progress: _Progress = None,
) -> Table: ...
def read_events(path: _Path, *, progress: _Progress = None) -> Table: ...
def read_log(path: _Path, *, progress: _Progress = None) -> Table: ...
def read_pos(path: _Path, target: str = "EPSG:4979", *, jobs: int = 0, progress: _Progress = None) -> Table: ...
def transform(
    path: _Path,
    target: str,
    output: _Path,
    *,
    jobs: int = 0,
    overwrite: bool = False,
    progress: _Progress = None,
) -> Tuple[Dict[str, Any], List[Finding]]: ...
@overload
def sharpness(
    photos: _Path, *, jobs: int = 0, max_megapixels: float = 1000.0, progress: _Progress = None
) -> float: ...
@overload
def sharpness(
    photos: Sequence[_Path], *, jobs: int = 0, max_megapixels: float = 1000.0, progress: _Progress = None
) -> numpy.ndarray[Any, numpy.dtype[numpy.float64]]: ...
def describe(path: _Path, *, max_gap: float = 2.0) -> Dict[str, Any]: ...
