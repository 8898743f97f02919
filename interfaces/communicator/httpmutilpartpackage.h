// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTPMUTILPARTPACKAGE_H
#define COMMUNICATOR_HTTPMUTILPARTPACKAGE_H

#include <communicator/httpjsonpackage.h>

namespace Krelm::Communicator::HttpDevice {

// Quirk: Misspelt names are part of the interface.
/// A package whose body is multipart/form-data (RFC 7578). Threads as for HttpJsonPackage.
class COMMUNICATOR_EXPORT HttpMutilPartPackage : public HttpJsonPackage
{
    Q_OBJECT
public:
    /// An empty package of the calling thread.
    explicit HttpMutilPartPackage(QObject* parent);
    ~HttpMutilPartPackage() override;

    /// Sets the parts, by field name. A QByteArray goes out as a binary part, a QUrl of a local file as that
    /// file, streamed with its name, a QString as text, everything else as a JSON part. A file that cannot be
    /// read ends the request with `FileFailure` before anything is sent. A content type among the request
    /// headers is left out.
    void setHttpMultiPartData(const QMap<QString, QVariant>& parts);
    /// The parts as they were set.
    QMap<QString, QVariant> httpMultiPartData() const;

private:
    class Private;
    std::unique_ptr<Private> d;
    Q_DISABLE_COPY_MOVE(HttpMutilPartPackage)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
