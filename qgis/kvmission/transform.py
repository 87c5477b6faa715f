"""Transforms a POS file."""

import os

from qgis.core import (
    QgsCoordinateReferenceSystem,
    QgsProcessingException,
    QgsProcessingOutputNumber,
    QgsProcessingParameterBoolean,
    QgsProcessingParameterCrs,
    QgsProcessingParameterFile,
    QgsProcessingParameterFileDestination,
    QgsProcessingParameterNumber,
)

from . import results, settings
from .algorithm import Algorithm, Feedback

_SETTINGS = ("jobs", "overwrite")


class TransformPos(Algorithm):
    NAME = "transform"
    TITLE = "Transform POS file"
    HELP = (
        "Takes the samples of a POS file to another coordinate system: a point layer (.shp), a table (.csv) or bare "
        "coordinates (.xyz). The ending of the output decides.\n"
        "Without a height system, heights are above the ellipsoid. The log says which geoid grid was used."
    )

    def initAlgorithm(self, configuration=None):
        self.addParameter(QgsProcessingParameterFile("INPUT", "POS file"))
        self.addParameter(QgsProcessingParameterCrs("TARGET", "Target coordinate system", "EPSG:4326"))
        self.addParameter(
            QgsProcessingParameterNumber(
                "HEIGHTS", "EPSG code of the height system, such as 5773", optional=True, minValue=1
            )
        )
        for name in _SETTINGS:
            self.addParameter(settings.parameter(name))
        self.addParameter(QgsProcessingParameterBoolean("LOAD", "Add the layer to the project", defaultValue=True))
        self.addParameter(
            QgsProcessingParameterFileDestination(
                "OUTPUT", "Transformed", fileFilter="Shapefile (*.shp);;Table (*.csv);;Coordinates (*.xyz)"
            )
        )
        self.addOutput(QgsProcessingOutputNumber("SAMPLES", "Samples transformed"))

    def _target(self, parameters, context):
        """As the engine takes it: codes where there are some, else WKT."""
        system = self.parameterAsCrs(parameters, "TARGET", context)
        code = system.authid() if system.authid().startswith("EPSG:") else ""
        if parameters.get("HEIGHTS") is None:
            return code or system.toWkt(QgsCoordinateReferenceSystem.WKT2_2019)
        if not code:
            raise QgsProcessingException("HEIGHTS needs a TARGET that has an EPSG code.")
        return f"{code}+{self.parameterAsInt(parameters, 'HEIGHTS', context)}"

    def processAlgorithm(self, parameters, context, feedback):
        file = self.parameterAsFile(parameters, "INPUT", context)
        output = os.path.abspath(self.parameterAsFileOutput(parameters, "OUTPUT", context))
        values = settings.given(self, _SETTINGS, parameters, context)
        values.update({"target": self._target(parameters, context), "output": output})
        report = self.call("transform", [file], values, Feedback(feedback)).result
        feedback.pushInfo(f"{report['transformed']} of {report['samples']} samples, in {report['target']}")
        grid = report["geoidGrid"]
        feedback.pushInfo(f"Geoid grid: {grid}" if grid else "No geoid grid: heights are above the ellipsoid")
        if output.lower().endswith(".shp") and self.parameterAsBool(parameters, "LOAD", context):
            results.load([results.Layer(output, "", os.path.basename(output)[:-4])], context)
        return {"OUTPUT": output, "SAMPLES": report["transformed"]}
