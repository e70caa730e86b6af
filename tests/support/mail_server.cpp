// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/mail_server.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr char Main[] = R"(compatibility_level = 3.6
queue_directory = @/spool
data_directory = @/data
maillog_file = @/data/log
maillog_file_prefixes = @
myhostname = mail.test
mydestination =
local_recipient_maps =
alias_maps =
inet_interfaces = 127.0.0.1
mynetworks =
virtual_mailbox_domains = static:all
virtual_mailbox_maps = static:box/
virtual_mailbox_base = @
virtual_mailbox_limit = 0
virtual_minimum_uid = 1
virtual_uid_maps = static:65534
virtual_gid_maps = static:65534
message_size_limit = %
smtpd_tls_security_level = may
smtpd_tls_auth_only = yes
smtpd_tls_cert_file = @/conf/cert.pem
smtpd_tls_key_file = @/conf/key.pem
smtpd_sasl_auth_enable = yes
smtpd_sasl_security_options = noanonymous
cyrus_sasl_config_path = @/conf
smtpd_relay_restrictions = permit_sasl_authenticated, reject
)";

constexpr char Master[] = R"(127.0.0.1:@ inet n - n - - smtpd
cleanup unix n - n - 0 cleanup
qmgr unix n - n 300 1 qmgr
rewrite unix - - n - - trivial-rewrite
bounce unix - - n - 0 bounce
defer unix - - n - 0 bounce
trace unix - - n - 0 bounce
error unix - - n - - error
retry unix - - n - - error
virtual unix - n n - - virtual
anvil unix - - n - 1 anvil
tlsmgr unix - - n 1000? 1 tlsmgr
postlog unix-dgram n - n - 1 postlogd
)";

constexpr char Sasl[] = R"(pwcheck_method: auxprop
auxprop_plugin: sasldb
sasldb_path: @/conf/sasldb
mech_list: PLAIN LOGIN CRAM-MD5
)";

constexpr char Start[] = R"(set -e
cd "$1"
chmod 755 .
printf %s "$3" | saslpasswd2 -p -c -f conf/sasldb -u mail.test ann
chmod 644 conf/sasldb
chown 65534:65534 box
chown postfix data
postfix -c "$1/conf" check
exec setsid "$2/master" -c "$1/conf" -d
)";

int FreePort()
{
    QTcpServer server;
    return server.listen(QHostAddress::LocalHost) ? server.serverPort() : 0;
}
} // namespace

void realMailServer::Write(const QString& name, const QByteArray& content)
{
    QFile file(Path(name));
    QByteArray text = content;
    if (!file.open(QIODevice::WriteOnly) || file.write(text.replace('@', m_folder.path().toUtf8())) < 0)
        m_trouble = file.errorString();
}

realMailServer::realMailServer(const testAuthority& authority) : m_port(FreePort())
{
    const QDir folder(m_folder.path());
    for (const QString& name : {u"conf/sasl"_s, u"spool"_s, u"data"_s, u"box"_s})
        folder.mkpath(name);
    Write(u"conf/main.cf"_s, QByteArray(Main).replace('%', QByteArray::number(MostBytes)));
    Write(u"conf/master.cf"_s, QByteArray(Master).replace('@', QByteArray::number(m_port)));
    Write(u"conf/sasl/smtpd.conf"_s, Sasl);
    Write(u"conf/cert.pem"_s, authority.Read(u"good.pem"_s));
    Write(u"conf/key.pem"_s, authority.Read(u"good.key"_s));
    QFile::setPermissions(Path(u"conf/key.pem"_s), QFile::ReadOwner);

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"PATH"_s, environment.value(u"PATH"_s) + u":/usr/sbin:/sbin"_s);
    m_process.setProcessEnvironment(environment);
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.start(u"sh"_s, {u"-c"_s, QString::fromLatin1(Start), u"start"_s, m_folder.path(),
                              u"/usr/lib/postfix/sbin"_s, QString::fromLatin1(Secret())});
    QElapsedTimer time;
    time.start();
    for (QTcpSocket probe; m_trouble.isEmpty();) {
        probe.connectToHost(u"127.0.0.1"_s, static_cast<quint16>(m_port));
        if (probe.waitForConnected(500) && probe.waitForReadyRead(5000))
            return;
        probe.abort();
        if (m_process.waitForFinished(100) || time.elapsed() > 20'000)
            m_trouble = u"the mail server does not start: "_s + QString::fromUtf8(m_process.readAll() + Log());
    }
}

realMailServer::~realMailServer()
{
    m_process.terminate(); // the master ends its children
    if (!m_process.waitForFinished(10'000))
        m_process.kill();
    m_process.waitForFinished();
}

QStringList realMailServer::Delivered() const
{
    const QDir box(Path(u"box/new"_s));
    QStringList files;
    for (const QString& name : box.entryList(QDir::Files, QDir::Time | QDir::Reversed))
        files += box.filePath(name);
    return files;
}

QByteArray realMailServer::Log() const
{
    QFile file(Path(u"data/log"_s));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
