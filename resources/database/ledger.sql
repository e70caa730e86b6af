-- SPDX-License-Identifier: GPL-3.0-or-later
-- What was sent to whom, and how it ended: a row for each message, written before its first byte goes out. Files made
-- before messages were sent get these statements when they are opened.
CREATE TABLE tblSendLedger (
    ID        INTEGER PRIMARY KEY AUTOINCREMENT,
    LinkID    INTEGER NOT NULL,           -- tblLinkList.ID; the link itself may have been deleted
    SiteID    VARCHAR(50) COLLATE NOCASE, -- tblSites.SiteID as it was then
    Title     VARCHAR(255),               -- the recipient's name
    Recipient VARCHAR(255),
    Subject   VARCHAR(255),
    Template  VARCHAR(50),
    MailID    VARCHAR(255),     -- the Message-ID, with its angle brackets
    Server    VARCHAR(255),     -- host:port in small letters
    Begun     TEXT NOT NULL,
    Instant   INTEGER NOT NULL, -- Begun in milliseconds since 1970: local time has an hour twice each autumn
    Finished  TEXT,
    Outcome   VARCHAR(8),       -- sent; not sent; resent, dropped: in doubt until the user decided so; NULL: in doubt
    Reply     TEXT              -- the server's last one, or what went wrong
);
CREATE INDEX idxSendLedgerLink ON tblSendLedger (LinkID);
CREATE INDEX idxSendLedgerServer ON tblSendLedger (Server, Instant);
CREATE INDEX idxSendLedgerInDoubt ON tblSendLedger (ID, LinkID) WHERE Outcome IS NULL;
