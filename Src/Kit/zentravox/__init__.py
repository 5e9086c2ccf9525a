"""Remote controllers of Zentravox: the app, central control, the cloud service and the FP controller."""

from .app import App, Notice, Refused, encrypt
from .central_control import CentralControl
from .cloud_service import CloudReply, CloudService, HostLink
from .contract import Contract, ContractError
from .fp_controller import FpController, FpLink
from .recording import Record, Recording, RecordingError
from .version import VERSION as __version__
from .wire import Closed, DatagramPeer, EnvelopeChannel, IdForm, Message, ProtocolError, discover

__all__ = ["App", "CentralControl", "Closed", "CloudReply", "CloudService", "Contract", "ContractError", "DatagramPeer",
           "EnvelopeChannel", "FpController", "FpLink", "HostLink", "IdForm", "Message", "Notice", "ProtocolError",
           "Record", "Recording", "RecordingError", "Refused", "__version__", "discover", "encrypt"]
