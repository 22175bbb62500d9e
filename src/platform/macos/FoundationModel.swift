// The system's language model, behind the C functions of FoundationModelCalls.h: it speaks Swift only. Built only where
// the tools know FoundationModels; elsewhere FoundationModelAbsent.cpp takes this file's place.

import Foundation
import FoundationModels

/// One request under way. Held by whoever asked until quillet_model_release().
private final class Request: @unchecked Sendable {
    var task: Task<Void, Never>?
}

/// The asking side's address and function, for the thread that answers.
private struct Receiver: @unchecked Sendable {
    let context: UnsafeMutableRawPointer?
    let answer: QuilletModelAnswer

    func tell(_ kind: QuilletModelAnswerKind, _ text: String) {
        text.withCString { answer(context, Int32(kind.rawValue), $0) }
    }
}

@_cdecl("quillet_model_opens_session")
public func opensSession() -> Bool {
    guard #available(macOS 26.0, *) else { return false }
    _ = LanguageModelSession(model: SystemLanguageModel.default, tools: [])
    return true
}

@_cdecl("quillet_model_is_ready")
public func isReady() -> Bool {
    guard #available(macOS 26.0, *) else { return false }
    return SystemLanguageModel.default.isAvailable
}

@_cdecl("quillet_model_request")
public func request(
    _ asked: UnsafePointer<QuilletModelRequest>?, _ context: UnsafeMutableRawPointer?,
    _ answer: QuilletModelAnswer?
) -> UnsafeMutableRawPointer? {
    guard #available(macOS 26.0, *), let asked, let answer else { return nil }
    let instructions = String(cString: asked.pointee.instructions)
    let prompt = String(cString: asked.pointee.prompt)
    let name = String(cString: asked.pointee.schemaName)
    let properties = Data(String(cString: asked.pointee.propertiesJson).utf8)
    let wantsSnapshots = asked.pointee.wantsSnapshots
    let receiver = Receiver(context: context, answer: answer)

    let request = Request()
    request.task = Task.detached(priority: .userInitiated) {
        do {
            let reply = try await summarise(
                instructions: instructions, prompt: prompt, schema: try schema(named: name, of: properties),
                snapshot: wantsSnapshots ? { receiver.tell(QuilletModelSnapshot, $0) } : nil)
            receiver.tell(QuilletModelReply, reply)
        } catch {
            receiver.tell(kind(of: error), error.localizedDescription)
        }
    }
    return Unmanaged.passRetained(request).toOpaque()
}

@_cdecl("quillet_model_cancel")
public func cancel(_ handle: UnsafeMutableRawPointer?) {
    guard let handle else { return }
    Unmanaged<Request>.fromOpaque(handle).takeUnretainedValue().task?.cancel()
}

@_cdecl("quillet_model_release")
public func release(_ handle: UnsafeMutableRawPointer?) {
    guard let handle else { return }
    Unmanaged<Request>.fromOpaque(handle).release()
}

private struct Property: Decodable {
    let name: String
    let isList: Bool
    let description: String?
}

/// The fields in their order, with their descriptions and without any guides; the object itself has no description.
@available(macOS 26.0, *)
private func schema(named name: String, of json: Data) throws -> GenerationSchema {
    let properties = try JSONDecoder().decode([Property].self, from: json).map { property in
        let text = DynamicGenerationSchema(type: String.self)
        return DynamicGenerationSchema.Property(
            name: property.name, description: property.description,
            schema: property.isList ? DynamicGenerationSchema(arrayOf: text) : text)
    }
    return try GenerationSchema(root: DynamicGenerationSchema(name: name, properties: properties), dependencies: [])
}

@available(macOS 26.0, *)
private func summarise(
    instructions: String, prompt: String, schema: GenerationSchema, snapshot: ((String) -> Void)?
) async throws -> String {
    let session = LanguageModelSession(model: SystemLanguageModel.default, tools: [], instructions: instructions)
    guard let snapshot else { return try await session.respond(to: prompt, schema: schema).content.jsonString }
    var latest = ""
    for try await partial in session.streamResponse(to: prompt, schema: schema) {
        latest = partial.content.jsonString
        snapshot(latest)
    }
    try Task.checkCancellation() // a stream that is cancelled just ends
    return latest
}

private func kind(of error: Error) -> QuilletModelAnswerKind {
    if error is CancellationError { return QuilletModelCancelled }
    guard #available(macOS 26.0, *), let error = error as? LanguageModelSession.GenerationError else {
        return QuilletModelFailed
    }
    switch error {
    case .assetsUnavailable: return QuilletModelUnavailable
    case .exceededContextWindowSize: return QuilletModelContextTooLong
    case .guardrailViolation, .refusal: return QuilletModelRefused
    case .decodingFailure: return QuilletModelUnreadable
    default: return QuilletModelFailed
    }
}
