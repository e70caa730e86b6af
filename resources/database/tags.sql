-- SPDX-License-Identifier: GPL-3.0-or-later
-- The field tags of templates. "tblSites" is the site for which the message is sent, "tblLinkList" the partner. They are
-- replaced in the order of ID, so a text that itself contains a later tag is expanded again: the site's long texts come
-- first, so that they may contain the tags of short fields. No text may contain its own tag.
INSERT INTO tblTagList (ID, FieldTag, TableMap, FieldMap, Description) VALUES
    (1, '[My Instructions]', 'tblSites', 'SpecialText', 'Your special instructions to partners'),
    (2, '[My Text Link HTML]', 'tblSites', 'LinkHTML', 'The HTML of a text link to your site'),
    (3, '[My Image Link HTML]', 'tblSites', 'GraphicHTML', 'The HTML of an image link to your site'),
    (4, '[My Signature]', 'tblSites', 'SignatureBlock', 'Your e-mail signature'),
    (5, '[My Site Title]', 'tblSites', 'SiteName', 'The title of your site'),
    (6, '[My Site Description]', 'tblSites', 'SiteDescription', 'The description of your site'),
    (7, '[My Home Page]', 'tblSites', 'HomePage', 'The address of your home page'),
    (8, '[My Link Page]', 'tblSites', 'LinkPage', 'The address of your links page'),
    (9, '[My Image File]', 'tblSites', 'ImageFile', 'The file name of your banner or button'),
    (10, '[My Name]', 'tblSites', 'FullName', 'Your name'),
    (11, '[My E-mail]', 'tblSites', 'Email', 'Your e-mail address'),
    (12, '[Partner Title]', 'tblLinkList', 'Title', 'The title of the partner''s site'),
    (13, '[Partner Description]', 'tblLinkList', 'Description', 'The description of the partner''s site'),
    (14, '[Partner Home Page]', 'tblLinkList', 'HomePage', 'The address of the partner''s home page'),
    (15, '[Partner Link Page]', 'tblLinkList', 'LinkPage', 'The page that carries, or should carry, the link to you'),
    (16, '[Partner Image File]', 'tblLinkList', 'ImageFile', 'The file name of the partner''s banner or button'),
    (17, '[Partner Name]', 'tblLinkList', 'FullName', 'The partner''s webmaster'),
    (18, '[Partner E-mail]', 'tblLinkList', 'Email', 'The partner''s e-mail address'),
    (19, '[Last Successful Test]', 'tblLinkList', 'LastSuccessfulTest', 'When the links were last found in place'),
    (20, '[Offers Made]', 'tblLinkList', 'Offers', 'How many offers the partner has had before');
