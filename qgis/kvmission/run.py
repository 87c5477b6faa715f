"""Runs a mission."""

import os

from qgis.core import (
    QgsProcessingException,
    QgsProcessingOutputBoolean,
    QgsProcessingOutputFile,
    QgsProcessingOutputHtml,
    QgsProcessingOutputMultipleLayers,
    QgsProcessingOutputVectorLayer,
    QgsProcessingParameterBoolean,
    QgsProcessingParameterFile,
    QgsProcessingParameterFolderDestination,
)

from . import engine, results, settings
from .algorithm import Algorithm, Feedback

_FILES = {"REPORT": ("report", "report.html"), "PROJECT": ("qgz", "mission.qgz"), "SUMMARY": ("json", "summary.json")}


class RunMission(Algorithm):
    NAME = "run"
    TITLE = "Run mission"
    HELP = (
        "Turns what a mapping sensor or a drone recorded into located, paired and graded photos, tracks and a report.\n"
        "Name the folder of the mission; its files are found by content. Without one, name a trajectory or a "
        "timestamp file. What you leave out is decided by the mission's mission.toml, else by the default.\n"
        "Look at the log: warnings say what was left out, and doubts what may be wrong. A mission in doubt fails, "
        "unless you accept it; its results are in the folder all the same."
    )

    def initAlgorithm(self, configuration=None):
        self.addParameter(
            QgsProcessingParameterFile(
                "MISSION", "Mission folder", behavior=QgsProcessingParameterFile.Folder, optional=True
            )
        )
        for name in self._settings():
            self.addParameter(settings.parameter(name))
        self.addParameter(QgsProcessingParameterBoolean("LOAD", "Add the layers to the project", defaultValue=True))
        self.addParameter(QgsProcessingParameterFolderDestination("OUTPUT", "Folder for the results"))
        self.addOutput(QgsProcessingOutputVectorLayer("PHOTO_LAYER", "Photos"))
        self.addOutput(QgsProcessingOutputMultipleLayers("LAYERS", "All layers"))
        self.addOutput(QgsProcessingOutputHtml("REPORT", "Report"))
        self.addOutput(QgsProcessingOutputFile("PROJECT", "QGIS project"))
        self.addOutput(QgsProcessingOutputFile("SUMMARY", "Summary"))
        self.addOutput(QgsProcessingOutputBoolean("COMPLETE", "Nothing was left out"))
        self.addOutput(QgsProcessingOutputBoolean("DOUBTFUL", "Results may be wrong"))

    @staticmethod
    def _settings():
        return [name for name in settings.SETTINGS if name != "output"]

    def processAlgorithm(self, parameters, context, feedback):
        mission = self.parameterAsFile(parameters, "MISSION", context)
        folder = os.path.abspath(self.parameterAsString(parameters, "OUTPUT", context))
        values = settings.given(self, self._settings(), parameters, context)
        if not mission and not values.keys() & {"trajectory", "timestamps"}:
            raise QgsProcessingException("Give a MISSION folder, a TRAJECTORY or TIMESTAMPS.")
        values["output"] = folder
        outcome = self.call("run", [mission] if mission else [], values, Feedback(feedback))
        if outcome.code == engine.DOUBTFUL and "accept-doubt" not in values:
            raise QgsProcessingException(
                f"Results may be wrong: see the doubts above. What was made is in {folder}, but the photos are not. "
                "To have them all the same, set ACCEPT_DOUBT and OVERWRITE."
            )
        if outcome.code == engine.INCOMPLETE:
            feedback.pushWarning("Finished, but something was left out: the warnings and the summary say what.")
        return self._results(folder, outcome.result, parameters, context)

    def _results(self, folder, summary, parameters, context):
        layers = results.layers(folder, summary)
        if self.parameterAsBool(parameters, "LOAD", context):
            results.load(layers, context)
        made = {"OUTPUT": folder, "LAYERS": [layer.source for layer in layers]}
        made.update({"COMPLETE": summary["complete"], "DOUBTFUL": summary["doubtful"]})
        made.update({"PHOTO_LAYER": layer.source for layer in layers if layer.name == "photos"})
        for output, (kind, file) in _FILES.items():
            if kind in summary["outputs"]:
                made[output] = os.path.join(folder, file)
        return made
