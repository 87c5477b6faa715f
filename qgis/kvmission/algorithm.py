"""What the algorithms have in common: how they call the engine, and what of its findings goes where."""

from processing.core.ProcessingConfig import ProcessingConfig
from qgis.core import QgsProcessingAlgorithm, QgsProcessingException
from qgis.PyQt.QtGui import QIcon

from . import engine, settings


class Feedback:
    """QGIS's feedback, with findings and progress as the engine gives them."""

    def __init__(self, feedback):
        self._feedback, self._what = feedback, None

    def __getattr__(self, name):
        return getattr(self._feedback, name)

    def finding(self, severity, text):
        """Notes are information. Doubts and failures are errors: a result may be wrong."""
        text = settings.as_parameters(text)
        if severity == "note":
            self._feedback.pushInfo(text)
        elif severity == "warning":
            self._feedback.pushWarning(text)
        else:
            self._feedback.reportError(f"{severity}: {text}")

    def progress(self, what, count, unit, done, total):
        if what != self._what:
            self._what = what
            self._feedback.setProgressText(what)
        if total > 0:
            self._feedback.setProgress(100.0 * done / total)


class Algorithm(QgsProcessingAlgorithm):
    """One with NAME, TITLE and HELP."""

    def createInstance(self):
        return type(self)()

    def name(self):
        return self.NAME

    def displayName(self):
        return self.TITLE

    def shortHelpString(self):
        return self.HELP

    def icon(self):
        return QIcon(self.provider().svgIconPath()) if self.provider() else super().icon()

    def canExecute(self):
        try:
            engine.find(ProcessingConfig.getSetting(engine.PROGRAM_SETTING) or "")
        except engine.Failure as failure:
            return False, str(failure)
        return True, ""

    def call(self, operation, inputs, values, feedback):
        """The outcome of a command of the engine."""
        try:
            engines = engine.find(ProcessingConfig.getSetting(engine.PROGRAM_SETTING) or "")
            return engine.call(engines, settings.VERSION, operation, inputs, values, feedback)
        except engine.Failure as failure:
            raise QgsProcessingException(settings.as_parameters(str(failure))) from failure
