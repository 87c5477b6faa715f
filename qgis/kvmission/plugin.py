"""The plugin and its provider of algorithms."""

import os

from processing.core.ProcessingConfig import ProcessingConfig, Setting
from qgis.core import QgsApplication, QgsProcessingProvider
from qgis.PyQt.QtGui import QIcon

from . import engine
from .describe import DescribeFile
from .grade import GradePhotos
from .run import RunMission
from .transform import TransformPos

ICON = os.path.join(os.path.dirname(__file__), "icon.svg")


class Provider(QgsProcessingProvider):
    def id(self):
        return "kvmission"

    def name(self):
        return "KVMission"

    def icon(self):
        return QIcon(ICON)

    def svgIconPath(self):
        return ICON

    def load(self):
        ProcessingConfig.settingIcons[self.name()] = self.icon()
        ProcessingConfig.addSetting(
            Setting(
                self.name(),
                engine.PROGRAM_SETTING,
                "Program: kvmission, or a Python that has kvutilities (empty: whichever is found)",
                "",
                valuetype=Setting.FILE,
            )
        )
        ProcessingConfig.readSettings()
        self.refreshAlgorithms()
        return True

    def unload(self):
        ProcessingConfig.removeSetting(engine.PROGRAM_SETTING)

    def loadAlgorithms(self):
        for algorithm in (RunMission, GradePhotos, TransformPos, DescribeFile):
            self.addAlgorithm(algorithm())


class Plugin:
    """QGIS calls initGui, and qgis_process initProcessing alone."""

    def __init__(self):
        self.provider = None

    def initProcessing(self):
        self.provider = Provider()
        QgsApplication.processingRegistry().addProvider(self.provider)

    def initGui(self):
        self.initProcessing()

    def unload(self):
        QgsApplication.processingRegistry().removeProvider(self.provider)
