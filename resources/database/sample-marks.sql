-- SPDX-License-Identifier: GPL-3.0-or-later
-- Which records came with the sample, so that it can be taken away again and nothing else with it. Files made before
-- there was a sample get this table when they are opened.
CREATE TABLE tblSample (
    ID        INTEGER PRIMARY KEY,
    TableName VARCHAR(50) NOT NULL,
    Record    VARCHAR(50) NOT NULL COLLATE NOCASE, -- tblSites.SiteID, or the number of another table's record
    Content   VARCHAR(64) NOT NULL                 -- a digest of what the record held, by which a change is noticed
);
