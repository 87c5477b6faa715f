"""Says what a file is and holds."""

import json

from qgis.core import QgsProcessingOutputString, QgsProcessingParameterFile

from . import settings
from .algorithm import Algorithm, Feedback


class DescribeFile(Algorithm):
    NAME = "describe"
    TITLE = "Describe file"
    HELP = (
        "Recognises a file of a mission by its content and says what it holds: trajectories, system event files, "
        "housekeeping logs, POS and orientation files, timestamp files, photos, Shapefiles.\n"
        "The description is in the log and, as JSON, in the output DESCRIPTION."
    )

    def initAlgorithm(self, configuration=None):
        self.addParameter(QgsProcessingParameterFile("INPUT", "File"))
        self.addParameter(settings.parameter("max-gap"))
        self.addOutput(QgsProcessingOutputString("KIND", "Kind of file"))
        self.addOutput(QgsProcessingOutputString("DESCRIPTION", "Description as JSON"))

    def processAlgorithm(self, parameters, context, feedback):
        file = self.parameterAsFile(parameters, "INPUT", context)
        values = settings.given(self, ["max-gap"], parameters, context)
        told = Feedback(feedback)
        (description,) = self.call("info", [file], values, told).result
        for line in _lines({key: value for key, value in description.items() if key != "findings"}):
            feedback.pushInfo(line)
        for finding in description.get("findings", []):
            told.finding(finding["severity"], finding["text"])
        return {"KIND": description["kind"], "DESCRIPTION": json.dumps(description, ensure_ascii=False)}


def _lines(values, indent=""):
    """Lines of keys and values; what is not known is left out."""
    for key, value in values.items():
        if isinstance(value, dict):
            yield f"{indent}{key}:"
            yield from _lines(value, indent + "  ")
        elif isinstance(value, list):
            yield f"{indent}{key}: {json.dumps(value, ensure_ascii=False)}"
        elif value is not None:
            yield f"{indent}{key}: {value}"
