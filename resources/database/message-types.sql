-- SPDX-License-Identifier: GPL-3.0-or-later
-- The eight message types. Offers are counted in the link's record when they are sent. The titles are the user's to
-- change.
INSERT INTO tblMailType (ID, MessageType, Offer) VALUES
    (1, 'Link Exchange Offer', 1),
    (2, 'Offer Reminder', 1),
    (3, 'Link Posted', 0),
    (4, 'Request Accepted', 0),
    (5, 'Link Missing', 0),
    (6, 'Link Removed', 0),
    (7, 'Request Declined', 0),
    (8, 'General Message', 0);
