import json

from .audit import log_event


class Gateway:
    def __init__(self, endpoint):
        self.endpoint = endpoint

    def charge(self, amount):
        payload = self._sign({"amount": amount})
        return send_request(self.endpoint, payload)

    def _sign(self, body):
        return json.dumps(body, sort_keys=True)


def send_request(endpoint, payload):
    log_event("request", endpoint)
    return {"status": "ok", "payload": payload}
