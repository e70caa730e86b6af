-- SPDX-License-Identifier: GPL-3.0-or-later
-- The stored queries. Parameters are written :Name and set by name; bounds are exclusive. A query whose records are to
-- be changed lists the number of its table (ID, MessageID).

-- The links of one site whose status lies between the bounds.
INSERT INTO tblQueries (Name, SQL) VALUES ('qryLinkList', '
SELECT * FROM tblLinkList
WHERE SiteName = :Site AND Status > :StatusLow AND Status < :StatusHigh
ORDER BY ID');

-- The categories of one site.
INSERT INTO tblQueries (Name, SQL) VALUES ('qryCategories', '
SELECT Category, ID, SiteID FROM tblCategory
WHERE SiteID = :Site
ORDER BY Category');

-- Clears the test results of one site's links.
INSERT INTO tblQueries (Name, SQL) VALUES ('qryClearResults', '
UPDATE tblLinkList SET Results = 0 WHERE SiteName = :SiteID');

-- The links queued for testing, of all sites.
INSERT INTO tblQueries (Name, SQL) VALUES ('qryTestLinks', '
SELECT * FROM tblLinkList
WHERE TestQueue <> 0
ORDER BY ID');

-- The links queued for mail, of all sites, and whether the next message is an offer. A link without a message type or
-- of an unknown site is there too: the run has a line for it.
INSERT INTO tblQueries (Name, SQL) VALUES ('qrySendEmail', '
SELECT tblLinkList.*, tblMailType.Offer
FROM tblLinkList LEFT JOIN tblMailType ON tblMailType.ID = tblLinkList.Message
WHERE EmailQueue <> 0 AND EmailQueue <> 2
ORDER BY tblLinkList.ID');

-- The templates whose type lies between the bounds.
INSERT INTO tblQueries (Name, SQL) VALUES ('qryMailMessages', '
SELECT * FROM tblMailMessages
WHERE Type > :IDLow AND Type < :IDHigh
ORDER BY Template, MessageID');

-- The field tags offered to the writer of a template.
INSERT INTO tblQueries (Name, SQL) VALUES ('qryTagListPro', '
SELECT ID, FieldTag, TableMap, FieldMap, Description FROM tblTagList
ORDER BY FieldTag');

-- The links of one site by category, for the links page: all of them, or those that no page has carried yet. Category
-- names that differ only in letter case stay apart, so that each is one section.
INSERT INTO tblQueries (Name, SQL) VALUES ('qryLinkListView', '
SELECT tblLinkList.*, tblCategory.Category AS LinkCategory
FROM tblLinkList LEFT JOIN tblCategory ON tblCategory.ID = tblLinkList.CategoryID
WHERE SiteName = :Site AND (:IncludeAll <> 0 OR COALESCE(Exported, '''') = '''')
ORDER BY COALESCE(tblCategory.Category, ''Miscellaneous'') COLLATE NOCASE,
    COALESCE(tblCategory.Category, ''Miscellaneous'') COLLATE BINARY, Title COLLATE NOCASE, tblLinkList.ID');

-- Copies a site with its categories and links under a new name. The copied categories are numbered one after the other
-- at the end of their table: the copy of a category that has n behind it has the n-th number from the end. Copied links
-- are in no queue, so that nobody gets a message twice.
INSERT INTO tblQueries (Name, SQL) VALUES ('qryCopySite', '
INSERT INTO tblSites (
    SiteID, SiteName, SiteDescription, HomePage, LinkPage, ImageFile, IPAddress, FullName, Email, Sender,
    SignatureBlock, HostName, MailPort, ProxyServer, HTTPPort,
    EMessage1, EMessage2, EMessage3, EMessage4, EMessage5, EMessage6, EMessage7, EMessage8,
    LinkHTML, GraphicHTML, SpecialText,
    TestForMyLinkAtRecipSite, TestForMyImageAtRecipSite, TestForRecipLinkAtMySite, TestForRecipImageAtMySite)
SELECT
    :NewSiteID, SiteName, SiteDescription, HomePage, LinkPage, ImageFile, IPAddress, FullName, Email, Sender,
    SignatureBlock, HostName, MailPort, ProxyServer, HTTPPort,
    EMessage1, EMessage2, EMessage3, EMessage4, EMessage5, EMessage6, EMessage7, EMessage8,
    LinkHTML, GraphicHTML, SpecialText,
    TestForMyLinkAtRecipSite, TestForMyImageAtRecipSite, TestForRecipLinkAtMySite, TestForRecipImageAtMySite
FROM tblSites WHERE SiteID = :SiteID;

INSERT INTO tblCategory (SiteID, Category)
SELECT :NewSiteID, Category FROM tblCategory WHERE SiteID = :SiteID ORDER BY ID;

INSERT INTO tblLinkList (
    SiteName, CategoryID, Message, Offers, Status, Results, EmailQueue, TestQueue, LastSuccessfulTest, Exported,
    Title, HomePage, LinkPage, ImageFile, IPAddress, FullName, Email, Description, Comments)
SELECT
    :NewSiteID,
    CASE WHEN EXISTS (SELECT 1 FROM tblCategory WHERE ID = CategoryID AND SiteID = :SiteID)
        THEN (SELECT max(ID) FROM tblCategory)
            - (SELECT count(*) FROM tblCategory WHERE SiteID = :SiteID AND ID > CategoryID)
        ELSE CategoryID END,
    Message, Offers, Status, Results, 0, 0, LastSuccessfulTest, Exported,
    Title, HomePage, LinkPage, ImageFile, IPAddress, FullName, Email, Description, Comments
FROM tblLinkList WHERE SiteName = :SiteID ORDER BY ID');
