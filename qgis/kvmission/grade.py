"""Says how sharp photos are."""

import os

from qgis.core import (
    QgsFeature,
    QgsFeatureSink,
    QgsField,
    QgsFields,
    QgsProcessing,
    QgsProcessingException,
    QgsProcessingParameterFeatureSink,
    QgsProcessingParameterFile,
    QgsProcessingParameterMultipleLayers,
)
from qgis.PyQt.QtCore import QVariant

from . import settings
from .algorithm import Algorithm, Feedback

_SETTINGS = ("max-megapixels", "jobs")


class GradePhotos(Algorithm):
    NAME = "grade"
    TITLE = "Grade photos"
    HELP = (
        "Says how sharp photos are: a table with a row for each photo, in which a larger figure is sharper. It tells "
        "photos of one camera apart, not cameras.\n"
        "A photo that cannot be graded has no figure; the column problem says why. A damaged photo has a figure that "
        "may be wrong."
    )

    def initAlgorithm(self, configuration=None):
        self.addParameter(
            QgsProcessingParameterFile(
                "FOLDER", "Folder of JPEG photos", behavior=QgsProcessingParameterFile.Folder, optional=True
            )
        )
        self.addParameter(
            QgsProcessingParameterMultipleLayers(
                "PHOTOS", "Photos", layerType=QgsProcessing.TypeFile, optional=True
            )
        )
        for name in _SETTINGS:
            self.addParameter(settings.parameter(name))
        self.addParameter(QgsProcessingParameterFeatureSink("OUTPUT", "Sharpness", QgsProcessing.TypeVector))

    def processAlgorithm(self, parameters, context, feedback):
        folder = self.parameterAsFile(parameters, "FOLDER", context)
        paths = list(filter(None, [folder, *self.parameterAsFileList(parameters, "PHOTOS", context)]))
        if not paths:
            raise QgsProcessingException("Name a folder of photos, or photos.")
        for path in paths:
            if not os.path.exists(path):
                raise QgsProcessingException(f"{path}: no such file or folder")
        values = settings.given(self, _SETTINGS, parameters, context)
        rows = self.call("grade", paths, values, Feedback(feedback)).result

        fields = QgsFields()
        for name, kind in (("path", QVariant.String), ("sharpness", QVariant.Double), ("problem", QVariant.String)):
            fields.append(QgsField(name, kind))
        sink, destination = self.parameterAsSink(parameters, "OUTPUT", context, fields)
        if sink is None:
            raise QgsProcessingException(self.invalidSinkError(parameters, "OUTPUT"))
        for row in rows:
            feature = QgsFeature(fields)
            feature.setAttributes([row["path"], row["sharpness"], row.get("error") or row.get("damage")])
            if not sink.addFeature(feature, QgsFeatureSink.FastInsert):
                raise QgsProcessingException(f"{destination}: cannot be written")
        return {"OUTPUT": destination}
