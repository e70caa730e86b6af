-- SPDX-License-Identifier: GPL-3.0-or-later
-- The tables of Bramdat.mdb.
--
-- VARCHAR(n) declares a text's size in characters; the program reads n to limit what is typed and to cut what is too
-- long. Only what would break other records is enforced by a CHECK.
-- Names by which records are looked up compare without regard to letter case (NOCASE).
-- Numbers that other records refer to are AUTOINCREMENT: a number once used is never used again, so a reference to a
-- deleted record stays a reference to nothing.
-- Truth values are 1 and 0. Dates are local time, 'YYYY-MM-DD HH:MM:SS'.

-- The user's own sites.
CREATE TABLE tblSites (
    SiteID                     VARCHAR(50) NOT NULL PRIMARY KEY COLLATE NOCASE CHECK (length(SiteID) BETWEEN 1 AND 50),
    SiteName                   VARCHAR(255),
    SiteDescription            VARCHAR(255),
    HomePage                   VARCHAR(255),
    LinkPage                   VARCHAR(255),
    ImageFile                  VARCHAR(255),
    IPAddress                  VARCHAR(25) CHECK (length(IPAddress) <= 25),
    FullName                   VARCHAR(255),
    Email                      VARCHAR(255),
    Sender                     VARCHAR(255),
    SignatureBlock             TEXT,
    HostName                   VARCHAR(255),
    MailPort                   INTEGER,
    MailSecurity               VARCHAR(8),    -- none, starttls or tls; NULL: none
    MailUser                   VARCHAR(255),  -- logs in at that server; NULL or empty: nobody does
    MailTokenCommand           VARCHAR(1000), -- prints a token, which takes the place of a password
    MailKey                    VARCHAR(64),   -- names the kept password; NULL: none is kept, it is asked for
    MailGap                    INTEGER, -- seconds between two messages to that server; NULL: as the settings say
    MailPerHour                INTEGER, -- most messages to that server in an hour, in a day; 0: no limit
    MailPerDay                 INTEGER,
    ProxyServer                VARCHAR(255),
    HTTPPort                   INTEGER,
    EMessage1                  INTEGER, -- tblMailMessages.MessageID of the template sent for each message type
    EMessage2                  INTEGER,
    EMessage3                  INTEGER,
    EMessage4                  INTEGER,
    EMessage5                  INTEGER,
    EMessage6                  INTEGER,
    EMessage7                  INTEGER,
    EMessage8                  INTEGER,
    LinkHTML                   TEXT,
    GraphicHTML                TEXT,
    SpecialText                TEXT,
    TestForMyLinkAtRecipSite   BOOLEAN DEFAULT 1,
    TestForMyImageAtRecipSite  BOOLEAN DEFAULT 0,
    TestForRecipLinkAtMySite   BOOLEAN DEFAULT 1,
    TestForRecipImageAtMySite  BOOLEAN DEFAULT 0
);

-- The link partners of each site.
CREATE TABLE tblLinkList (
    ID                 INTEGER PRIMARY KEY AUTOINCREMENT,
    SiteName           VARCHAR(50) COLLATE NOCASE, -- tblSites.SiteID
    CategoryID         INTEGER,                    -- tblCategory.ID
    Message            INTEGER,                    -- tblMailType.ID of the next e-mail
    Offers             INTEGER,                    -- offers sent so far
    Status             INTEGER NOT NULL DEFAULT 0, -- 0 Offer, 1 In-Process, 2 Active, 3 Broken, 4 Inactive, 5 Declined
    Results            INTEGER,                    -- 1 passed, else the sum of the failure codes 4 to 512
    EmailQueue         INTEGER DEFAULT 0,          -- 0 no, 2 not to be sent, any other value: queued
    TestQueue          BOOLEAN DEFAULT 0,
    LastSuccessfulTest TEXT,
    Exported           VARCHAR(10),                -- MM/DD/YYYY of the last links page that carried the link
    Title              VARCHAR(255),
    HomePage           VARCHAR(255),
    LinkPage           VARCHAR(255),
    ImageFile          VARCHAR(255),
    IPAddress          VARCHAR(25) CHECK (length(IPAddress) <= 25),
    FullName           VARCHAR(255),
    Email              VARCHAR(255),
    Description        VARCHAR(255),
    Comments           TEXT
);

-- The list of one site in its natural order, for any range of statuses, comes from this index alone; so does its order
-- by any of the numbers that follow.
CREATE INDEX idxLinkListSite ON tblLinkList (
    SiteName, ID, Status, EmailQueue, TestQueue, Results, Offers, CategoryID);
-- The text by which long lists are sorted most: read from here, without the rest of the records.
CREATE INDEX idxLinkListTitle ON tblLinkList (Title);
-- The queues are short beside the table, and are read without it.
CREATE INDEX idxLinkListTestQueue ON tblLinkList (ID, TestQueue) WHERE TestQueue <> 0;
CREATE INDEX idxLinkListEmailQueue ON tblLinkList (ID, EmailQueue, Message) WHERE EmailQueue <> 0 AND EmailQueue <> 2;

-- The categories under which a site's links are filed.
CREATE TABLE tblCategory (
    ID       INTEGER PRIMARY KEY AUTOINCREMENT,
    SiteID   VARCHAR(50) COLLATE NOCASE,
    Category VARCHAR(255) COLLATE NOCASE
);
CREATE INDEX idxCategorySite ON tblCategory (SiteID, Category);

-- The eight message types.
CREATE TABLE tblMailType (
    ID          INTEGER PRIMARY KEY,
    MessageType VARCHAR(50),
    Offer       BOOLEAN DEFAULT 0
);

-- The e-mail templates.
CREATE TABLE tblMailMessages (
    MessageID    INTEGER PRIMARY KEY AUTOINCREMENT,
    Type         INTEGER, -- tblMailType.ID
    Template     VARCHAR(50) COLLATE NOCASE,
    Subject      VARCHAR(255),
    Body         TEXT,
    AttachedFile VARCHAR(255),
    LastModified TEXT
);

-- Texts that stand for a field in a template, replaced in this order.
CREATE TABLE tblTagList (
    ID          INTEGER PRIMARY KEY,
    FieldTag    VARCHAR(50) COLLATE NOCASE,
    TableMap    VARCHAR(50),
    FieldMap    VARCHAR(50),
    Description VARCHAR(255)
);

-- The tips of the day.
CREATE TABLE tblTips (
    ID        INTEGER PRIMARY KEY,
    Header    VARCHAR(255),
    Body      TEXT,
    HelpIndex INTEGER -- help topic, NULL: none
);

-- Statements that the program runs by name.
CREATE TABLE tblQueries (
    Name VARCHAR(64) NOT NULL PRIMARY KEY COLLATE NOCASE,
    SQL  TEXT NOT NULL
);
