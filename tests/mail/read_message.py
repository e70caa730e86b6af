# SPDX-License-Identifier: GPL-3.0-or-later
"""Reads a message the way a partner's mail program would, and tells what it found as JSON."""
import email
import email.policy
import hashlib
import json
import sys

with open(sys.argv[1], "rb") as file:
    message = email.message_from_binary_file(file, policy=email.policy.default)
body = message.get_body()
print(json.dumps({
    "subject": message["subject"],
    "name": message["from"].addresses[0].display_name,
    "from": message["from"].addresses[0].addr_spec,
    "to": message["to"].addresses[0].addr_spec,
    "mailer": message["x-mailer"],
    "id": message["message-id"],
    "date": message["date"].datetime.isoformat(),
    "body": body.get_content(),
    "longest": max(len(line) for line in message.as_bytes().splitlines()),
    "attachments": [{
        "name": part.get_filename(),
        "sha256": hashlib.sha256(part.get_payload(decode=True)).hexdigest(),
    } for part in message.iter_attachments()],
    "defects": [str(defect) for part in message.walk() for defect in part.defects],
}))
