-- SPDX-License-Identifier: GPL-3.0-or-later
-- Passwords of mail servers that the user wants kept in this file. A table of its own, so that nothing that shows or
-- writes out the records of sites can show them. Files made before there were log-ins get it when they are opened.
CREATE TABLE tblMailSecrets (
    ID      INTEGER PRIMARY KEY,
    MailKey VARCHAR(64) NOT NULL UNIQUE, -- tblSites.MailKey
    Secret  TEXT NOT NULL
);
