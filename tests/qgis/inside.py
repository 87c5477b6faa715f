"""What only a running QGIS shows: what it loads, how a run stops. inside.py MISSION LONG-MISSION OUTPUT PROGRAM..."""

import json
import os
import sys
import time

from qgis.core import QgsApplication, QgsProcessingContext, QgsProcessingFeedback, QgsProject, QgsProjUtils

application = QgsApplication([], True)
application.initQgis()
sys.path += [os.path.join(QgsApplication.pkgDataPath(), "python", "plugins"), os.environ["QGIS_PLUGINPATH"]]

import kvmission  # noqa: E402
from processing.core.Processing import Processing  # noqa: E402
from processing.core.ProcessingConfig import ProcessingConfig  # noqa: E402
from processing.gui.Postprocessing import handleAlgorithmResults  # noqa: E402

Processing.initialize()
plugin = kvmission.classFactory(None)
plugin.initProcessing()
mission, long_mission, output, *programs = sys.argv[1:]
algorithm = QgsApplication.processingRegistry().algorithmById("kvmission:run")
project = QgsProject.instance()
folders = QgsProjUtils.searchPaths()


def run(feedback, mission, folder, **parameters):
    context = QgsProcessingContext()
    context.setProject(project)
    given = {"MISSION": mission, "OUTPUT": folder, **parameters}
    results, is_good = algorithm.run(given, context, feedback)
    return is_good and handleAlgorithmResults(algorithm, context, feedback, False, given)


def loaded(group):
    """(name, whether it is shown, renderer, features) of each layer."""
    for node in group.findLayers():
        layer = node.layer()
        renderer = layer.renderer().type() if layer.renderer() else ""
        yield node.name(), node.itemVisibilityChecked(), renderer, layer.featureCount()


other_style = os.path.join(os.path.dirname(output), "other.qml")
ProcessingConfig.setSettingValue(ProcessingConfig.VECTOR_POINT_STYLE, other_style)
seen = {"runs": [
    run(QgsProcessingFeedback(), mission, output),
    run(QgsProcessingFeedback(), mission, output, OVERWRITE=True),
    run(QgsProcessingFeedback(), mission, output + " shp", OUTPUTS=["shp"]),
]}
seen["groups"] = [[group.name(), list(loaded(group))] for group in project.layerTreeRoot().findGroups()]
seen["folders kept"] = QgsProjUtils.searchPaths() == folders

class Impatient(QgsProcessingFeedback):
    """Cancels as soon as the engine shows that it is at work."""

    def pushInfo(self, text):
        super().pushInfo(text)
        if text.startswith("found "):
            self.cancel()

    def setProgressText(self, text):
        self.cancel()


seen["stopped"] = []
for number, program in enumerate(programs):
    ProcessingConfig.setSettingValue(kvmission.engine.PROGRAM_SETTING, program)
    feedback, start, folder = Impatient(), time.monotonic(), f"{output} stopped {number}"
    is_good = run(feedback, long_mission, folder)
    left = os.listdir(folder) if os.path.exists(folder) else []
    seen["stopped"].append([is_good, time.monotonic() - start < 10, left, feedback.textLog().splitlines()[-1]])
print(json.dumps(seen), flush=True)
os._exit(0)  # QGIS's objects go in any order at the end, and now and then one needs another that has gone
