"""The element layer (``WebBase``) and the browser vocabulary the operations use."""
from marlet.wrapper.gui.web.vorna.vornav1 import vornawebwrapper as _native

WebBase = _native._WebBase
By = _native._By
Keys = _native._Keys
WebDriverWait = _native._WebDriverWait
Select = _native._Select
expected_conditions = _native._expected_conditions
