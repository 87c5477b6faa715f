"""Tables of records, and findings."""

import dataclasses
from typing import Any, Dict, List

from ._kvutilities import Error

POSITION_QUALITIES = ("NONE", "SINGLE", "DGPS", "FLOAT", "FIXED", "ESTIMATED", "SIMULATED", "MIXED")
ATTITUDE_QUALITIES = ("NONE", "POSTPROCESSED", "SENSOR", "TRACK")

_WORDS = {"quality": POSITION_QUALITIES, "attitude_quality": ATTITUDE_QUALITIES}


@dataclasses.dataclass(frozen=True)
class Finding:
    """A message of an operation. Its code never changes its meaning."""

    code: str  #: "trajectory-gap"
    severity: str  #: "note", "warning", "doubt" or "failure"
    subject: Dict[str, Any]  #: what it is about, as far as it applies: file, line, camera, photo
    values: Dict[str, Any]
    text: str  #: one sentence


class Table:
    """Records: a structured NumPy array of numbers and times, and a list for each text.

    table["height"] is a column, table["photo"] a list of texts.
    """

    def __init__(self, array, texts, findings=(), crs="EPSG:4979", places=("longitude", "latitude", "height")):
        self.array = array
        self.texts: Dict[str, List[str]] = texts
        self.findings: List[Finding] = list(findings)
        self.crs = crs
        self._places = places

    def __len__(self):
        return len(self.array)

    def __getitem__(self, column):
        return self.texts[column] if column in self.texts else self.array[column]

    def __repr__(self):
        return f"<kvutilities.Table: {len(self)} rows of {', '.join(self.columns)}>"

    @property
    def columns(self):
        """Names of all columns."""
        return [*self.array.dtype.names, *self.texts]

    def to_pandas(self):
        """A pandas.DataFrame; qualities become categories."""
        import pandas

        columns = {name: self[name] for name in self.columns}
        for name in _WORDS.keys() & columns.keys():
            columns[name] = pandas.Categorical.from_codes(columns[name], _WORDS[name])
        return pandas.DataFrame(columns)

    def to_geopandas(self):
        """A geopandas.GeoDataFrame of points, to be written with to_file; rows without a place have none.

        WGS 84 places are in EPSG:4326, as in mission.gpkg: most formats cannot hold EPSG:4979.
        """
        import geopandas
        import numpy
        import pyproj

        if not set(self._places) <= set(self.columns):
            raise Error(f"a table of {', '.join(self.columns)} has no places")
        x, y, z = (self.array[name] for name in self._places)
        points = geopandas.points_from_xy(x, y, z)
        points[numpy.isnan(x) | numpy.isnan(y)] = None
        frame = self.to_pandas()
        for name in _WORDS.keys() & set(frame.columns):
            frame[name] = frame[name].astype(str)  # no file takes categories
        crs = pyproj.CRS(self.crs)
        return geopandas.GeoDataFrame(frame, geometry=points, crs=4326 if crs.to_epsg() == 4979 else crs)
